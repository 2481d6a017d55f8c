/// NAME
///   domain_ips_db - the map from sender domains to transports
///
/// PURPOSE
///   A regular-expression table, one of Postfix's sender_dependent_default_transport_maps. A line
///   is the pattern of a domain's senders, a blank or tab, and the service in master.cf:
///
///     /@shop\.example$/ TAB smtp_shop_example
///
///   No tool runs after a save: Postfix reads the table itself when it reloads, and whoever changes
///   a line here changes master.cf as well, whose save reloads it.

#pragma once

#include "email/access_db.h"
#include "email/cached_config.h"

namespace email {

/// Its records are of the class SourceTarget: the pattern and the service.
class DomainIpsDb : public FenCachedConfig<DomainIpsDb> {
 public:
  DomainIpsDb();
};

}  // namespace email
