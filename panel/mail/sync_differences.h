/// NAME
///   sync_differences - what a synchronisation has changed
///
/// PURPOSE
///   Keeps what the database said before and compares it with what it says after. Rows may have
///   been deleted and added again meanwhile, so things are compared by their names and not by their
///   keys.

#pragma once

#include <vector>

#include "panel/mail/sync.h"

namespace panel::mail {

class SyncDifferences {
 public:
  /// Notes what the database says now of everything, of everything but outgoing addresses, or of
  /// the sender lists alone. Lives within one transaction.
  enum class Of { kEverything, kAllButAddresses, kSenderLists };
  explicit SyncDifferences(Of what);

  /// What is different now; nothing is of what was not noted.
  std::vector<SyncResult> Compare() const;

  /// How many things of the kind there were before.
  static std::size_t CountBefore(const std::string& kind);

 private:
  Of what_;
};

}  // namespace panel::mail
