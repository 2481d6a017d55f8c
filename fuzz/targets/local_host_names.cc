/// NAME
///   local_host_names - changes of the local host names, as fuzz/support/table_trial.h describes
///   them

#include "email/local_host_names.h"

#include "fuzz/support/table_trial.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::TryTable<email::LocalHostNames, email::HostNames>(data, size);
  return 0;
}
