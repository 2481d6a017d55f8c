/// NAME
///   own_panel - a panel made and run by the command, as a user does it
///
/// PURPOSE
///   Runs the built zebmail in a temporary folder, on a panel that `zebmail init` made there. Below
///   with_postgresql its database lies on that server; suites of what is particular to a database
///   in a file have names with "Sqlite" in them, and do not run there.
///   postmap and postalias are the real ones, on a Postfix configuration in the same folder; the
///   Postfix command is a recording stand-in, since no Postfix runs.

#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/command.h"
#include "tests/support/recording_tool.h"
#include "tests/support/temp_folder.h"
#include "tests/support/test_database.h"

namespace zebmail_test {

using test_support::CommandRun;

/// The command with these words behind it, and without a configuration in the environment. It reads
/// `input` as its standard input.
CommandRun Zebmail(const std::vector<std::string>& words, const std::string& input = "");

/// Runs a command line, as check gives it, by a shell; "zebmail" in it is the built one.
CommandRun CarryOut(const std::string& command);

/// Every file below `folder` with its text, folders with an empty one and a "/" at their end.
std::map<std::string, std::string> Snapshot(const std::filesystem::path& folder);

/// A Postfix configuration for the tools, and the stand-in for the Postfix command.
class PostfixFolder {
 public:
  PostfixFolder();

  const test_support::TempFolder& folder() const noexcept { return folder_; }
  std::string Path(const std::string& name) const { return folder_.Path(name).string(); }

  /// The main.cf of the tools. It is wired to the panel's tables, and mailboxes have an end.
  std::string MainCf() const { return folder_.ReadText("config/main.cf"); }
  void SetMainCf(const std::string& text) const;

  /// One that knows of no panel.
  std::string BareMainCf() const;

  const test_support::RecordingTool& postfix() const noexcept { return postfix_; }

  /// The command by which the panel has the map of its table built; `tool` is "postmap" or
  /// "postalias".
  std::string MapCommand(const std::string& tool, const std::string& table) const;

  /// The one by which check has it built, whatever is known of the old map.
  std::string WholeMapCommand(const std::string& tool, const std::string& table) const;

  /// The words of an init of a panel in the folder "panel".
  std::vector<std::string> InitWords() const;

 private:
  std::string MapOptions(const std::string& table) const;

  test_support::TempFolder folder_;
  test_support::RecordingTool postfix_;
};

/// A panel that is made already.
class OwnPanel : public PostfixFolder {
 public:
  /// One with a database of its own, which is a file unless the tests run on a server.
  OwnPanel();

  /// One on the server's database that the URL names.
  explicit OwnPanel(const std::string& database);

  /// The URL of its database.
  const std::string& database() const noexcept { return database_; }

  /// Has it work with the server's database that the URL names from now on.
  void MoveTo(const std::string& database);

  /// Keeps what a database on the server holds, and puts it back. A file goes with the folder.
  void KeepDatabase() { own_database_->Keep(); }
  void PutDatabaseBack() const { own_database_->PutBack(); }

  std::string config() const { return Path("panel/zebmail.toml"); }

  /// Runs the command on this panel.
  CommandRun Run(std::vector<std::string> words, const std::string& input = "") const;

  /// Runs the command, which must succeed.
  std::string Do(const std::vector<std::string>& words, const std::string& input = "") const;

  /// The whole text of the table file `name`, such as "virtusertable".
  std::string Table(const std::string& name) const;
  void SetTable(const std::string& name, const std::string& text) const;

  /// The four tables that domains are written to, each below a line with its name.
  std::string Tables() const;

  /// The three tables that mailboxes are written to, each below a line with its name. The two
  /// entries that the panel itself keeps at the beginning of the aliases are left out.
  std::string MailboxTables() const;

  /// What stands for `key` in the built map of the table `name`.
  std::string Lookup(const std::string& name, const std::string& key) const;

  /// Runs `work` on the panel's database, for rows that no command writes.
  void ChangeDatabase(const std::function<void()>& work) const;

  /// Gives the path `name` a value in the configuration, or takes its line out.
  void Configure(const std::string& name, const std::string& value) const;
  void Unconfigure(const std::string& name) const;

 private:
  void ReplaceLine(const std::string& name, const std::string& line) const;

  std::optional<test_support::TestDatabase> own_database_;
  std::string database_;
};

/// One that can switch responders on: it has a stand-in for the program that answers. No mail
/// comes, so nothing runs it.
class AnsweringPanel : public OwnPanel {
 public:
  AnsweringPanel();

  std::string answer() const { return Path("zebmail-answer"); }

  /// The value of the aliases by which the mailbox with this key is answered for.
  std::string AnswerOf(int mailbox) const;

  /// The path of `name` in the folder of the responder of the mailbox with this key.
  std::string ResponderPath(int mailbox, const std::string& name = "") const;
};

/// One with the domain example.org and the mailbox info@example.org, whose key is 1.
class MailboxPanel : public AnsweringPanel {
 public:
  MailboxPanel();
};

}  // namespace zebmail_test
