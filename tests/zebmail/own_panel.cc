/// NAME
///   own_panel - a panel made and run by the command, as a user does it

#include "tests/zebmail/own_panel.h"

#include <chrono>
#include <cstdlib>
#include <sstream>
#include <stdexcept>

#include "panel/db/database.h"

namespace zebmail_test {

namespace fs = std::filesystem;

namespace {

/// What the panel keeps at the beginning of the aliases.
const std::string kDeliveryEntries =
    "postfix_err_nouser:\t\"| exit 67\"\ndevnull:\t\"/dev/null\"\n";

std::string MapTool(const std::string& name) {
  return std::string(ZEBMAIL_MAPS_FOLDER) + "/zebmail-" + name;
}

}  // namespace

CommandRun Zebmail(const std::vector<std::string>& words, const std::string& input) {
  unsetenv("ZEBMAIL_CONFIG");
  std::vector<std::string> all = {ZEBMAIL_BINARY};
  all.insert(all.end(), words.begin(), words.end());
  return test_support::RunCommand(all, input);
}

CommandRun CarryOut(const std::string& command) {
  const std::string function = std::string("zebmail() { '") + ZEBMAIL_BINARY + "' \"$@\"; }\n";
  return test_support::RunCommand({"/bin/sh", "-c", function + command});
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
  const std::string mail = Path("panel/mail/");
  const std::string rule =
      folder_.WriteText("config/client-address.regexp", "/^(.*)$/ connect:$1\n");
  SetMainCf(BareMainCf() + "mydestination = " + mail +
            "local-host-names, $myhostname, localhost\n" + "virtual_alias_maps = hash:" + mail +
            "virtusertable\n" + "alias_maps = hash:" + mail + "aliases\n" +
            "sender_dependent_default_transport_maps = regexp:" + mail + "domainips\n" +
            "smtpd_recipient_restrictions = check_recipient_access hash:" + mail + "access\n" +
            "smtpd_sender_restrictions = check_sender_access hash:" + mail + "access\n" +
            "smtpd_client_restrictions = check_client_access pipemap:{regexp:" + rule +
            ",hash:" + mail + "access}\n" + "mailbox_transport = lmtp:unix:private/imap-server\n");
  folder_.WriteText("config/master.cf",
                    "pickup    unix  n       -       n       60      1       pickup\n");
}

std::string PostfixFolder::BareMainCf() const {
  return "compatibility_level = 3.6\n"
         "myhostname = mail.test\n"
         "inet_interfaces = 127.0.0.1\n"
         "default_database_type = hash\n"
         "queue_directory = " +
         Path("queue") + "\ndata_directory = " + Path("data") + "\n";
}

/// The tools wait until a main.cf is a second old, in case somebody is writing it still.
void PostfixFolder::SetMainCf(const std::string& text) const {
  const fs::path main_cf = folder_.WriteText("config/main.cf", text);
  fs::last_write_time(main_cf, fs::last_write_time(main_cf) - std::chrono::hours(1));
}

std::string PostfixFolder::MapCommand(const std::string& tool, const std::string& table) const {
  return MapTool(tool) + MapOptions(table);
}

std::string PostfixFolder::WholeMapCommand(const std::string& tool,
                                           const std::string& table) const {
  return MapTool(tool) + " --whole" + MapOptions(table);
}

std::string PostfixFolder::MapOptions(const std::string& table) const {
  return " --state " + Path("panel/state") + " -c " + Path("config") + " " +
         Path("panel/mail/" + table);
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
  const fs::path file = Path("panel/panel.db");
  own_database_.emplace(file);
  if (own_database_->IsFile()) {
    database_ = own_database_->url();
  } else {
    MoveTo(own_database_->url());
    fs::remove(file);
  }
}

OwnPanel::OwnPanel(const std::string& database) {
  const CommandRun run = Zebmail(InitWords());
  if (run.status != 0) throw std::runtime_error(run.errors);
  MoveTo(database);
}

void OwnPanel::MoveTo(const std::string& database) {
  database_ = database;
  Configure("database", database);
}

CommandRun OwnPanel::Run(std::vector<std::string> words, const std::string& input) const {
  words.insert(words.begin(), {"--config", config()});
  return Zebmail(words, input);
}

std::string OwnPanel::Do(const std::vector<std::string>& words, const std::string& input) const {
  const CommandRun run = Run(words, input);
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

std::string OwnPanel::MailboxTables() const {
  std::string entries = Table("aliases");
  if (entries.starts_with(kDeliveryEntries)) entries.erase(0, kDeliveryEntries.size());
  return "-- virtusertable\n" + Table("virtusertable") + "-- access\n" + Table("access") +
         "-- aliases\n" + entries;
}

void OwnPanel::ChangeDatabase(const std::function<void()>& work) const {
  panel::db::Database database(database_);
  panel::db::Transaction transaction(database);
  work();
  transaction.Commit();
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
  bool is_replaced = false;
  for (std::string old_line; std::getline(old, old_line);) {
    const bool is_the_one = old_line.starts_with(name + " =");
    text += is_the_one ? line : old_line + "\n";
    is_replaced = is_replaced || is_the_one;
  }
  if (!is_replaced) text += line;  // the paths come last
  folder().WriteText("panel/zebmail.toml", text);
}

AnsweringPanel::AnsweringPanel() {
  folder().WriteText("zebmail-answer", "#!/bin/sh\nexit 0\n");
  test_support::SetMode(answer(), 0755);
  Configure("zebmail-answer", answer());
}

std::string AnsweringPanel::AnswerOf(int mailbox) const {
  return "\"|" + answer() + " " + ResponderPath(mailbox) + "\"";
}

std::string AnsweringPanel::ResponderPath(int mailbox, const std::string& name) const {
  const std::string responder = Path("panel/state/responder/" + std::to_string(mailbox));
  return name.empty() ? responder : responder + "/" + name;
}

MailboxPanel::MailboxPanel() {
  Do({"domain", "create", "example.org"});
  Do({"mailbox", "create", "info@example.org"});
}

}  // namespace zebmail_test
