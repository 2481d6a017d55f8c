/// NAME
///   listed_senders - the white and the black list of senders
///
/// PURPOSE
///   A value on a list is a mail address, a domain or an IP address, of a sender or a client. The
///   back-end keeps one verdict for each, in the same place as the suspensions of domains and
///   mailboxes, which therefore may be lost: what the panel's own rows list is listed anew then.
///
/// HOW IT FAILS
///   With fen_err::Error: "value" (list, what is wrong), "exists" or "missing" (list, value), and
///   "suspended" ("domain" or "mailbox", name) for a value whose verdict is a suspension now.

#pragma once

#include <optional>
#include <string>
#include <vector>

#include "panel/mail/table_keys.h"

namespace panel::mail {

enum class SenderList { kWhite, kBlack };

using SenderValues = std::vector<std::string>;

/// Puts the values on the list; one of the other list moves over. Returns them as they are kept, in
/// Unicode.
SenderValues AddToList(SenderList list, const SenderValues& values);

/// Returns the values as they were kept, in Unicode.
SenderValues RemoveFromList(SenderList list, const SenderValues& values);

/// What is suspended, and would be so no longer with a verdict on some value.
struct Suspended {
  std::string what;  ///< "domain" or "mailbox"
  std::string name;
};

/// What a verdict on `value` would let mail through for.
std::optional<Suspended> FindSuspension(const std::string& value);

/// Whether mail to this server is concerned too, because the value is a domain of the panel or an
/// address in one: the verdicts are looked up for recipients as well.
bool ConcernsRecipients(const std::string& text);

/// A value of the list in the form in which it is kept.
std::string CheckedSender(SenderList list, const std::string& text);

/// Whether the list has the value, as it is given or in the form in which it is kept.
bool IsListed(SenderList list, const std::string& text);

/// The panel takes note of one that the table has already.
void TakeListed(SenderList list, const std::string& text);

/// Has the back-end write all that a value of the list is to have in the table, which is not what
/// the list says while the value is suspended.
void WriteListed(SenderList list, const std::string& value);

/// The values of the list, in the order of their texts.
std::vector<std::string> ListSenders(SenderList list);

/// Has the back-end write the verdict of `name`, a domain or an address, if a list has it and no
/// suspension is in its place. Comes after operations that remove whatever verdict there is.
void WriteVerdict(const std::string& name);

/// The same for what Postfix looks up before `name`: of a domain its addresses, of a mailbox those
/// with an extension ("info+news@example.org").
void WriteVerdictsBelow(const std::string& name);

/// Has the back-end take off the verdicts by which mail for a suspended domain or mailbox would be
/// taken all the same. The rows stay, and so does the suspension of a mailbox by itself.
void DeleteVerdictsBelow(const std::string& name);

/// What the lists say before the mail server's tables are read, for what these cannot tell: a
/// verdict that gives way to a suspension stands nowhere, and that on a domain of the panel is
/// taken out of the access table when the domain is read.
class ListsBefore {
 public:
  ListsBefore();

  /// Lists again what only these reasons have taken off.
  void Restore();

 private:
  bool IsOnlyHeldBack(const std::string& value);

  std::vector<std::string> white_;
  std::vector<std::string> black_;
  TableKeys verdicts_;
};

}  // namespace panel::mail
