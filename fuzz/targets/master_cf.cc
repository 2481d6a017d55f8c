/// NAME
///   master_cf - changes of the services of master.cf that the back-end keeps, as
///   fuzz/support/table_trial.h describes them

#include "postfix/master_cf.h"

#include "fuzz/support/table_trial.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::TryTable<email::MasterCf, email::IpRouters>(data, size);
  return 0;
}
