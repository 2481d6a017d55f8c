/// NAME
///   busy_panel - a panel with something of everything, which can be put back to how it was
///
/// PURPOSE
///   Random tests change a panel in many ways and want to begin from the same state each time, and
///   to see whether what they find is one of the states that it may be in. The panel has domains of
///   every default action, a suspended and a bound one, mailboxes of every kind, both lists, and
///   enough mailboxes that a map takes some time to be written.
///
/// ITS TOOLS
///   postmap and postalias are the real ones. Each run tells its process number first, so that a
///   test knows when a tool works.

#pragma once

#include <chrono>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <sys/types.h>

#include "panel/process/file_handle.h"
#include "tests/zebmail/own_panel.h"

namespace reliability {

using test_support::CommandRun;
using Words = std::vector<std::string>;

using Files = std::map<std::string, std::string>;

/// All of the panel that matters to somebody.
struct State {
  Files files;                  ///< each text file: its path and its text
  std::string database;         ///< what it holds, as an export shows it
  std::set<std::string> names;  ///< of all files

  bool operator==(const State&) const = default;
};

/// Takes the copies of main.cf out that a change of it keeps: one that was killed or has failed may
/// have kept one too.
void LeaveOutCopies(State& state, const std::string& main_cf);

/// The text of a file, or that there is none.
std::string TextOr(const Files& files, const std::string& name);

class BusyPanel {
 public:
  BusyPanel();

  CommandRun Run(const Words& words, const std::string& input = "") const {
    return panel_.Run(words, input);
  }

  /// The words of the whole command line, for who starts the program himself.
  Words CommandLine(const Words& words) const;

  const zebmail_test::AnsweringPanel& panel() const noexcept { return panel_; }

  /// The text files of the panel and of Postfix's configuration, without maps, notes and files that
  /// are about to be put in place.
  Files ReadFiles() const;

  State Look() const;

  /// Puts everything back to how it was in the beginning.
  void PutBack() const;

  /// Postfix's programs wait while main.cf is fresh; it is not, after this.
  void MakeMainCfOld() const;

  /// The process number of the next tool that runs; none when that takes longer than `patience`.
  std::optional<pid_t> NextTool(std::chrono::milliseconds patience) const;

  /// Forgets the tools that have told of themselves so far; returns how many these were.
  int ForgetTools() const;

  /// What is wrong with the maps: each must say what a map says that is built of its text now.
  /// Empty when nothing is.
  std::string FaultOfMaps() const;

 private:
  void WriteTool(const std::string& name) const;
  void Fill() const;
  std::string Name(const std::filesystem::path& path) const;
  std::filesystem::path Kept(const std::string& name) const { return panel_.Path("kept/" + name); }

  zebmail_test::AnsweringPanel panel_;
  panel::FileHandle told_;
};

}  // namespace reliability
