/// NAME
///   own_panel - a panel made and run by the command, as a user does it

#include "tests/zebmail/own_panel.h"

#include <chrono>
#include <cstdlib>
#include <sstream>
#include <stdexcept>

namespace zebmail_test {

namespace fs = std::filesystem;

CommandRun Zebmail(const std::vector<std::string>& words) {
  unsetenv("ZEBMAIL_CONFIG");
  std::vector<std::string> all = {ZEBMAIL_BINARY};
  all.insert(all.end(), words.begin(), words.end());
  return test_support::RunCommand(all);
}

std::map<std::string, std::string> Snapshot(const fs::path& folder) {
  std::map<std::string, std::string> files;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
    const std::string name = entry.path().lexically_relative(folder);
    if (entry.is_directory()) {
      files[name + "/"];
    } else {
      files[name] = test_support::ReadText(entry.path());
    }
  }
  return files;
}

PostfixFolder::PostfixFolder() : postfix_(folder_, "postfix") {
  SetMainCf(
      "compatibility_level = 3.6\n"
      "myhostname = mail.test\n"
      "inet_interfaces = 127.0.0.1\n"
      "default_database_type = hash\n"
      "queue_directory = " +
      Path("queue") + "\ndata_directory = " + Path("data") + "\n");
  folder_.WriteText("config/master.cf",
                    "pickup    unix  n       -       n       60      1       pickup\n");
}

/// The tools wait until a main.cf is a second old, in case somebody is writing it still.
void PostfixFolder::SetMainCf(const std::string& text) const {
  const fs::path main_cf = folder_.WriteText("config/main.cf", text);
  fs::last_write_time(main_cf, fs::last_write_time(main_cf) - std::chrono::hours(1));
}

std::vector<std::string> PostfixFolder::InitWords() const {
  return {"init",
          "--root",
          Path("panel"),
          "--postfix-config",
          Path("config"),
          "--path",
          "postfix-bin=" + postfix_.path()};
}

OwnPanel::OwnPanel() {
  const CommandRun run = Zebmail(InitWords());
  if (run.status != 0) throw std::runtime_error(run.errors);
}

CommandRun OwnPanel::Run(std::vector<std::string> words) const {
  words.insert(words.begin(), {"--config", config()});
  return Zebmail(words);
}

std::string OwnPanel::Do(const std::vector<std::string>& words) const {
  const CommandRun run = Run(words);
  if (run.status != 0 || !run.errors.empty()) throw std::runtime_error(run.output + run.errors);
  return run.output;
}

std::string OwnPanel::Table(const std::string& name) const {
  return folder().ReadText("panel/mail/" + name);
}

void OwnPanel::SetTable(const std::string& name, const std::string& text) const {
  folder().WriteText("panel/mail/" + name, text);
}

std::string OwnPanel::Tables() const {
  std::string text;
  for (const char* name : {"virtusertable", "local-host-names", "access", "domainips"}) {
    text += std::string("-- ") + name + "\n" + Table(name);
  }
  return text;
}

std::string OwnPanel::Lookup(const std::string& name, const std::string& key) const {
  const CommandRun run = test_support::RunCommand(
      {"/usr/sbin/postmap", "-c", Path("config"), "-q", key, "hash:" + Path("panel/mail/" + name)});
  if (!run.errors.empty()) throw std::runtime_error(run.errors);
  return run.output.substr(0, run.output.find('\n'));
}

void OwnPanel::Configure(const std::string& name, const std::string& value) const {
  ReplaceLine(name, name + " = \"" + value + "\"\n");
}

void OwnPanel::Unconfigure(const std::string& name) const {
  ReplaceLine(name, "");
}

void OwnPanel::ReplaceLine(const std::string& name, const std::string& line) const {
  std::istringstream old(folder().ReadText("panel/zebmail.toml"));
  std::string text;
  for (std::string old_line; std::getline(old, old_line);) {
    text += old_line.starts_with(name + " =") ? line : old_line + "\n";
  }
  folder().WriteText("panel/zebmail.toml", text);
}

}  // namespace zebmail_test
