/// NAME
///   virtual_user_table - the table of virtual addresses
///
/// PURPOSE
///   The text from which postmap builds one of Postfix's virtual_alias_maps. It has two kinds of
///   lines, where "#" begins a comment:
///
///     @example.org           target          mail for any address of the domain without a line
///     john@example.org       target ...      mail for one address
///
///   A bare word as target ("devnull") names an entry of the aliases.

#pragma once

#include <string>

#include "email/cached_config.h"

namespace email {

/// The line of a domain.
class VirtualDomains : public HeadDataSet {
 public:
  bool Parse(Cf cf) override;
  std::string NewRecordTemplate() override;

  dd::Field name{*this, "name"};      ///< the domain, without "@"
  dd::Field target{*this, "target"};  ///< the rest of the line
};

/// The line of an address.
class VirtualEmails : public HeadDataSet {
 public:
  bool Parse(Cf cf) override;
  std::string NewRecordTemplate() override;

  dd::Field name{*this, "name"};  ///< the full address

  /// The rest of the line. The comma belongs to the field's name, but not to the list: the targets
  /// of a line are separated by blanks.
  dd::ArrayField target{*this, "target,", ' '};
};

class VirtualUserTable : public FenCachedConfig<VirtualUserTable> {
 public:
  VirtualUserTable();

  /// Rebuilds the map with postmap. Throws email::Fail("postmap", output).
  void AfterSave(ConfRef& ref, ConfCache::SaveReason& reason) override;
};

}  // namespace email
