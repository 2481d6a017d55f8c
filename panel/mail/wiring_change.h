/// NAME
///   wiring_change - making main.cf say what the panel needs
///
/// HOW IT GOES
///   The files that main.cf will name come first: the rule for client addresses and the maps that
///   are missing. Then main.cf is copied and replaced, and Postfix reads it anew if it runs. When
///   a step before the replacement fails, what was made for it is taken away again and Postfix goes
///   on as before.
///
/// HOW IT FAILS
///   With fen_err::Error: "wiring" (the parameter, what to do first) when the settings would open
///   the server to strangers, "missing" for a table that is not there, and as main_cf.h and maps.h
///   say.

#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "panel/conf/operation.h"
#include "panel/mail/main_cf.h"
#include "panel/mail/maps.h"
#include "panel/mail/wiring.h"

namespace panel::mail {

/// What has to be done.
struct WiringChange {
  conf::FileContents main_cf;           ///< as it was when the change was planned
  std::vector<Assignment> assignments;  ///< parameters of main.cf
  bool writes_client_rule = false;
  std::filesystem::path client_rule;
  std::vector<Map> maps;  ///< to be built

  bool IsEmpty() const { return assignments.empty() && !writes_client_rule && maps.empty(); }
};

WiringChange ChangeOf(const Wiring& wiring);

/// What was done.
struct WiringResult {
  std::filesystem::path copy;  ///< of main.cf as it was; empty when that was not changed
  std::filesystem::path copy_of_client_rule;  ///< the same of that file; empty also when it is new
  bool is_reloaded = false;                   ///< false when Postfix does not run
};

WiringResult Apply(const WiringChange& change);

/// The files that would change and the tools that would run.
std::vector<conf::Operation::Change> ChangedFiles(const WiringChange& change);
std::vector<std::string> ToolsOf(const WiringChange& change);

}  // namespace panel::mail
