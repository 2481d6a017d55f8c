/// NAME
///   change - a change of the panel and its confirmation
///
/// WHAT IT PRINTS
///   What Confirm prints: one line, or with --json the domain, mailbox or responder as it is now;
///   the one that was deleted as it was.

#pragma once

#include <functional>
#include <optional>
#include <string>

#include "panel/mail/mail_module.h"
#include "zebmail/output.h"
#include "zebmail/session.h"

namespace zebmail {

using Work = std::function<void(panel::mail::MailModule& mail)>;

/// Prints the warnings of a change when it is over, however it ends.
class WarningsOf {
 public:
  explicit WarningsOf(const panel::mail::MailModule& mail) : mail_(mail) {}
  ~WarningsOf() {
    for (const std::string& warning : mail_.warnings()) PrintWarning(warning);
  }

  WarningsOf(const WarningsOf&) = delete;
  WarningsOf& operator=(const WarningsOf&) = delete;

 private:
  const panel::mail::MailModule& mail_;
};

/// Makes the change `work` and confirms that it is `done` by what `show` finds then.
template <class Show>
Status Change(const Invocation& invocation, const std::string& done, const Work& work,
              const Show& show) {
  panel::mail::Panel panel = OpenPanel(invocation);
  panel::mail::MailModule mail;
  const WarningsOf warnings(mail);
  MakeChange(
      invocation, panel, [&] { work(mail); },
      [&] {
        const auto shown = show(mail);
        Confirm(invocation, NameOf(shown), done, ToJson(shown));
      });
  return kDone;
}

/// Makes the change `work`, which deletes what `show` finds before.
template <class Show>
Status Delete(const Invocation& invocation, const Work& work, const Show& show) {
  panel::mail::Panel panel = OpenPanel(invocation);
  panel::mail::MailModule mail;
  const WarningsOf warnings(mail);
  std::optional<decltype(show(mail))> shown;
  MakeChange(
      invocation, panel,
      [&] {
        shown = show(mail);
        work(mail);
      },
      [&] { Confirm(invocation, NameOf(*shown), "deleted", ToJson(*shown)); });
  return kDone;
}

/// Prints what `show` finds as one thing, in lines.
template <class Show>
Status PrintOne(const Invocation& invocation, const Show& show) {
  const panel::mail::Panel panel = OpenPanelToLook(invocation);
  const auto shown = show(panel::mail::MailModule());
  Print(invocation, ToJson(shown), ToText(shown));
  return kDone;
}

/// Prints what `show` finds as many things, in a table.
template <class Show>
Status PrintAll(const Invocation& invocation, const Show& show) {
  const panel::mail::Panel panel = OpenPanelToLook(invocation);
  const auto shown = show(panel::mail::MailModule());
  Print(invocation, ToJson(shown), ToTable(shown));
  return kDone;
}

}  // namespace zebmail
