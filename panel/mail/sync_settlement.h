/// NAME
///   sync_settlement - what the passes of a synchronisation leave open
///
/// PURPOSE
///   The back-end takes each address line for a mailbox and reads neither what discards mail nor
///   IPv6 addresses. Once its passes are over, the rows are brought in order here.

#pragma once

#include <set>
#include <string>
#include <vector>

#include "panel/mail/table_hints.h"

namespace panel::mail {

/// A suspended domain as it was before.
struct SuspendedDomain {
  std::string name;
  std::string default_action;
  std::string redirect;
};

class Settlement {
 public:
  /// Made before the passes, for what is to stay as it was. `hints` must outlive it.
  explicit Settlement(const TableHints& hints);

  /// Brings the rows in order after the passes.
  void Settle() const;

 private:
  void SettleDropMail() const;
  void SettleResponders() const;
  void SettleAddresses() const;
  void SettleSuspensions() const;

  const TableHints& hints_;
  std::set<std::string> unbound_before_;  ///< the domains without an outgoing address
  std::vector<SuspendedDomain> half_suspended_;
};

}  // namespace panel::mail
