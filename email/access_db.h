/// NAME
///   access_db - the access table
///
/// PURPOSE
///   The text from which postmap builds Postfix's access map: what the server answers to a sender,
///   a recipient or a client. A line is the key, blanks or tabs, and the verdict: the rest of the
///   line. "#" begins a comment.
///
///     example.org              550 Account disabled      a suspended domain
///     connect:192.0.2.1        REJECT                    a client on the black list

#pragma once

#include <string>

#include "email/cached_config.h"

namespace email {

/// The verdicts that the back-end writes and knows again, byte for byte.
inline constexpr char kDisabledVerdict[] = "550 Account disabled";
inline constexpr char kAcceptVerdict[] = "OK";
inline constexpr char kRejectVerdict[] = "REJECT";

/// A line of a key and what it leads to.
class SourceTarget : public HeadDataSet {
 public:
  bool Parse(Cf cf) override;
  std::string NewRecordTemplate() override;

  dd::Field source{*this, "source"};  ///< the key, without blanks
  dd::Field target{*this, "target"};  ///< the rest of the line
};

class AccessDb : public FenCachedConfig<AccessDb> {
 public:
  AccessDb();

  /// Rebuilds the map with postmap. Throws email::Fail("postmap", output).
  void AfterSave(ConfRef& ref, ConfCache::SaveReason& reason) override;
};

}  // namespace email
