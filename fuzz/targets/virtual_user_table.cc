/// NAME
///   virtual_user_table - changes of the table of virtual addresses, as fuzz/support/table_trial.h
///   describes them

#include "email/virtual_user_table.h"

#include "fuzz/support/table_trial.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::TryTable<email::VirtualUserTable, email::VirtualDomains, email::VirtualEmails>(data, size);
  return 0;
}
