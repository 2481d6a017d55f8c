/// NAME
///   map_place - a table, its map and Postfix's own programs, for one test
///
/// PURPOSE
///   Runs zebmail-postmap or zebmail-postalias on a table in a temporary folder. Postfix's own
///   program is the real one; a script in front of it notes how it was called.

#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/command.h"
#include "tests/support/temp_folder.h"

namespace maps_test {

using test_support::CommandRun;

class MapPlace {
 public:
  /// `type` is that of the map, `program` "postmap" or "postalias".
  explicit MapPlace(const std::string& type = "hash", const std::string& program = "postmap");

  const test_support::TempFolder& folder() const { return folder_; }
  std::filesystem::path Path(const std::string& name) const { return folder_.Path(name); }
  std::filesystem::path text_path() const { return Path("mail/table"); }
  std::filesystem::path map_path() const;

  /// The file in the folder of the state whose name ends so.
  std::filesystem::path StateFile(const std::string& ending) const;

  /// Writes the table as the panel does: under another name first.
  void SetText(const std::string& text) const;
  std::string text() const { return folder_.ReadText("mail/table"); }

  /// Brings the map in step. `more` are options of the program.
  CommandRun Run(const std::vector<std::string>& more = {}) const;
  CommandRun RunOn(const std::string& text, const std::vector<std::string>& more = {}) const;

  /// Kills the program after that time; with_tool: and Postfix's program too.
  void RunAndKill(std::chrono::microseconds after, bool with_tool) const;

  /// How Postfix's program was called since the last time that this was asked: "put", "remove" or
  /// "build", by blanks.
  std::string TakeWays() const;

  /// What the script in front of Postfix's program does before it.
  void SetScript(const std::string& commands) const;

  /// All that the map holds, sorted.
  std::string Entries() const { return EntriesOf("mail/table"); }

  /// All that a map holds that Postfix's program builds of the table.
  std::string EntriesOfRebuilt() const;

  /// The words that run the program.
  std::vector<std::string> Words(const std::vector<std::string>& more = {}) const;

  /// Runs Postfix's program itself.
  CommandRun RunReal(const std::vector<std::string>& words, const std::string& input = "") const;

 private:
  std::string EntriesOf(const std::string& name) const;

  test_support::TempFolder folder_;
  std::string type_;
  std::string program_;
};

}  // namespace maps_test
