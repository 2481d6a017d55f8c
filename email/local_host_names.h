/// NAME
///   local_host_names - the domains for which the server takes mail as its own
///
/// PURPOSE
///   One name a line, where "#" begins a comment. Postfix reads the file itself, as a part of
///   mydestination, when it starts or reloads.

#pragma once

#include <string>

#include "email/cached_config.h"

namespace email {

class HostNames : public HeadDataSet {
 public:
  bool Parse(Cf cf) override;
  std::string NewRecordTemplate() override;

  dd::Field name{*this, "name"};
};

class LocalHostNames : public FenCachedConfig<LocalHostNames> {
 public:
  LocalHostNames();

  /// Reloads Postfix. Throws email::Fail("postfix_reload", output).
  void AfterSave(ConfRef& ref, ConfCache::SaveReason& reason) override;
};

}  // namespace email
