/// NAME
///   master_cf - the services of Postfix that send a domain's mail from its own address
///
/// PURPOSE
///   Of all lines of Postfix's service table, master.cf, those are records whose service name
///   begins with "smtp" and is followed by a tab. Postfix's own services are followed by blanks, so
///   they, and continuation lines and comments, are not touched.
///
///     smtp_shop_example TAB unix - - n - - smtp -o syslog_name=... -o smtp_bind_address=192.0.2.10

#pragma once

#include <string>

#include "email/cached_config.h"

namespace email {

class IpRouters : public HeadDataSet {
 public:
  bool Parse(Cf cf) override;
  std::string NewRecordTemplate() override;

  dd::Field transport{*this, "transport"};  ///< the service name
  dd::Field rout{*this, "rout"};            ///< the rest of the line, behind the tab
};

class MasterCf : public FenCachedConfig<MasterCf> {
 public:
  MasterCf();

  /// Reloads Postfix. Throws email::Fail("postfix_reload", output).
  void AfterSave(ConfRef& ref, ConfCache::SaveReason& reason) override;
};

}  // namespace email
