/// NAME
///   access_table - changes of the access table, as fuzz/support/table_trial.h describes them

#include "email/access_db.h"
#include "fuzz/support/table_trial.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::TryTable<email::AccessDb, email::SourceTarget>(data, size);
  return 0;
}
