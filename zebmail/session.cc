/// NAME
///   session - opening the panel for a command

#include "zebmail/session.h"

#include <unistd.h>

#include "host/fen_err.h"
#include "panel/module/config.h"
#include "zebmail/output.h"

namespace zebmail {

panel::mail::Notices MakeNotices(const Invocation& invocation) {
  panel::mail::Notices notices;
  notices.warning = &PrintWarning;
  if (!invocation.quiet && isatty(STDERR_FILENO) != 0) {
    notices.waiting = [] { PrintWarning("waiting for another zebmail to finish"); };
  }
  return notices;
}

panel::Config ReadConfig(const Invocation& invocation) {
  if (invocation.config.empty()) throw fen_err::Error("config", "--config", "names no file");
  return panel::ReadConfig(std::filesystem::absolute(invocation.config).lexically_normal());
}

panel::mail::Panel OpenPanel(const Invocation& invocation) {
  if (invocation.dry_run) return OpenPanelToLook(invocation);
  return panel::mail::Panel(ReadConfig(invocation), MakeNotices(invocation));
}

panel::mail::Panel OpenPanelToLook(const Invocation& invocation) {
  return panel::mail::Panel(ReadConfig(invocation), MakeNotices(invocation),
                            panel::mail::Panel::Purpose::kLook);
}

void MakeChange(const Invocation& invocation, panel::mail::Panel& panel,
                const std::function<void()>& work, const std::function<void()>& show) {
  if (invocation.dry_run) {
    PrintRehearsal(invocation, panel.Rehearse(work));
  } else {
    panel.Change(work);
    show();
  }
}

}  // namespace zebmail
