/// NAME
///   domain_ip_map - changes of the map from sender domains to transports, as
///   fuzz/support/table_trial.h describes them

#include "fuzz/support/table_trial.h"
#include "postfix/domain_ips_db.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::TryTable<email::DomainIpsDb, email::SourceTarget>(data, size);
  return 0;
}
