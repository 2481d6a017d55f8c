/// NAME
///   postfix_command - the command that starts, stops and reloads Postfix
///
/// PURPOSE
///   Postfix reads its services and the local host names when it starts, so one that does not run
///   needs no reload.

#pragma once

#include <string>

#include "host/fen_err.h"
#include "panel/conf/pending.h"

namespace panel::mail {

/// The command line of postfix(1) with `word` ("reload"), as it is configured.
std::string PostfixCommand(const std::string& word);

/// Whether Postfix runs. Throws fen_err::Error("email", "postfix-bin", why) when the command cannot
/// be started.
bool IsPostfixRunning();

/// Whether the failure is that of a reload for which there was no Postfix, which is none.
bool IsNeedlessReload(const fen_err::Error& failure);

/// Whether the outstanding work is a reload of Postfix.
bool IsReload(const conf::PendingWork& work);

/// Removes the notes of outstanding reloads.
void ForgetReloads();

}  // namespace panel::mail
