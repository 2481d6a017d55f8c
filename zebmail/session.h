/// NAME
///   session - opening the panel for a command
///
/// PURPOSE
///   What all commands have in common: the panel of the configuration, notices on standard error,
///   and a change that is either made or, with --dry-run, shown.

#pragma once

#include <functional>

#include "panel/mail/panel.h"
#include "zebmail/invocation.h"

namespace zebmail {

/// How a panel talks to the user: on standard error. That it waits is said on a terminal only.
panel::mail::Notices MakeNotices(const Invocation& invocation);

/// The configuration that the command line or the environment names.
panel::Config ReadConfig(const Invocation& invocation);

/// The panel of that configuration, to be changed; with --dry-run to be looked at.
panel::mail::Panel OpenPanel(const Invocation& invocation);

/// The same, to be looked at.
panel::mail::Panel OpenPanelToLook(const Invocation& invocation);

/// Makes the change `work`, then runs `show`, which tells what was done; neither with --dry-run,
/// where the change is rehearsed and printed instead.
void MakeChange(const Invocation& invocation, panel::mail::Panel& panel,
                const std::function<void()>& work, const std::function<void()>& show);

}  // namespace zebmail
