/// NAME
///   alias_table - changes of the aliases, as fuzz/support/table_trial.h describes them

#include "email/alias_table.h"

#include "fuzz/support/table_trial.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::TryTable<email::AliasTable, email::Aliases>(data, size);
  return 0;
}
