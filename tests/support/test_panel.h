/// NAME
///   test_panel - a panel in a temporary folder, for one test
///
/// PURPOSE
///   Lays out all that the panel and the plug-in work on in a folder of the test's own and makes it
///   the panel's configuration, so that tables are written and maps are built there and nowhere
///   else. postmap and postalias are the real ones, on a Postfix configuration in the same folder;
///   the Postfix command is a recording stand-in, since no Postfix runs.
///
/// WHAT LIES IN THE FOLDER
///   mail/      the tables: virtusertable, local-host-names, access, aliases, domainips, master.cf;
///              all empty but for master.cf
///   postfix/   the Postfix configuration for the tools: main.cf, master.cf
///   state/     the panel's state_dir
///   panel.db   the panel's database, empty, unless the tests run on a server
///
/// HOW IT FAILS
///   As temp_folder does.

#pragma once

#include <filesystem>
#include <string>

#include "panel/module/config.h"
#include "tests/support/recording_tool.h"
#include "tests/support/temp_folder.h"
#include "tests/support/test_database.h"

namespace test_support {

class TestPanel {
 public:
  TestPanel();

  const TempFolder& folder() const noexcept { return folder_; }
  std::filesystem::path state_dir() const { return folder_.Path("state"); }
  std::filesystem::path postfix_dir() const { return folder_.Path("postfix"); }

  /// The path of the table file `name`, such as "virtusertable".
  std::filesystem::path Table(const std::string& name) const {
    return folder_.Path("mail/" + name);
  }

  /// The whole text of the table file `name`.
  std::string Text(const std::string& name) const { return ReadText(Table(name)); }

  void SetText(const std::string& name, const std::string& text) const {
    WriteText(Table(name), text);
  }

  /// What stands for `key` in the map that postmap or postalias built of the table `name`; empty
  /// when the map does not have it. Throws std::runtime_error when there is no map to ask.
  std::string Lookup(const std::string& name, const std::string& key) const;

  /// The stand-in for the Postfix command; a reload is its run "reload".
  const RecordingTool& postfix_command() const noexcept { return postfix_command_; }

  /// The configuration as it is in use.
  const panel::Config& config() const noexcept { return config_; }

  /// Changes the configuration and puts it to use. What the plug-in has set as path defaults is
  /// forgotten then, so this comes before the plug-in is made.
  void SetPath(const std::string& name, const std::string& value);
  void SetParam(const std::string& name, const std::string& value);
  void SetDatabase(const std::string& url);

 private:
  TempFolder folder_;
  TestDatabase database_;
  RecordingTool postfix_command_;
  panel::Config config_;
};

}  // namespace test_support
