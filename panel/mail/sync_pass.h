/// NAME
///   sync_pass - what is known while a pass goes over the mailboxes
///
/// PURPOSE
///   The longest part of a synchronisation is a pass of the back-end over the address lines, which
///   asks the panel for the rows of each. Each question is a step of the progress that is shown.
///   Those about the addresses of one domain come one after the other, and a pass changes no
///   domain: its row need not be looked for again. And most are about a mailbox that the database
///   cannot have, because it had no such mailbox before the pass and the pass has not come to the
///   address yet: these need not be asked of the database.

#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "panel/mail/probable_set.h"
#include "panel/mail/progress.h"

namespace panel::mail {

class SyncPass {
 public:
  /// While it lives, it is the pass of this thread. `all` is how many steps it may take. Reads
  /// which mailboxes there are.
  SyncPass(ShowProgress show, std::size_t all);
  ~SyncPass();

  SyncPass(const SyncPass&) = delete;
  SyncPass& operator=(const SyncPass&) = delete;

  /// The pass of this thread; null when there is none.
  static SyncPass* Current();

  /// Takes a step.
  void Step();

  /// Whether the database has no such mailbox for certain. Asked again, it is not certain any more.
  bool IsNew(std::int64_t domain, std::string_view local_part);

 private:
  ShowProgress show_;
  std::size_t all_;
  std::size_t done_ = 0;
  ProbableSet known_;
};

}  // namespace panel::mail
