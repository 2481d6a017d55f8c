/// NAME
///   alias_table - the aliases
///
/// PURPOSE
///   The text from which postalias builds one of Postfix's alias_maps: where mail for a local name
///   goes. A line is the name, a colon, and the targets (addresses, files, commands), separated by
///   commas. "#" begins a comment.
///
///     devnull:              "/dev/null"
///     john+example.org:     john@example.net,jane@example.net

#pragma once

#include <string>

#include "email/cached_config.h"

namespace email {

class Aliases : public HeadDataSet {
 public:
  bool Parse(Cf cf) override;
  std::string NewRecordTemplate() override;

  dd::Field name{*this, "name"};
  dd::ArrayField alias{*this, "alias", ','};  ///< the targets
};

class AliasTable : public FenCachedConfig<AliasTable> {
 public:
  AliasTable();

  /// Rebuilds the map with postalias, of the configured aliases whichever file was saved. Throws
  /// email::Fail("postalias", output).
  void AfterSave(ConfRef& ref, ConfCache::SaveReason& reason) override;
};

}  // namespace email
