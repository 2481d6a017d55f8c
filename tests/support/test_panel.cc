/// NAME
///   test_panel - a panel in a temporary folder, for one test

#include "tests/support/test_panel.h"

#include <stdexcept>

#include "tests/support/command.h"

namespace test_support {
namespace {

/// The services of a master.cf, as far as the tables are concerned: some to stand among.
const char* const kMasterCf =
    "# service type  private unpriv  chroot  wakeup  maxproc command + args\n"
    "smtp      inet  n       -       n       -       -       smtpd\n"
    "pickup    unix  n       -       n       60      1       pickup\n"
    "cleanup   unix  n       -       n       -       0       cleanup\n"
    "qmgr      unix  n       -       n       300     1       qmgr\n"
    "smtp      unix  -       -       n       -       -       smtp\n"
    "relay     unix  -       -       n       -       -       smtp\n"
    "        -o syslog_name=postfix/$service_name\n"
    "local     unix  -       n       n       -       -       local\n";

/// What the Postfix tools read, and nothing that would make them look at the machine.
std::string MainCf(const TempFolder& folder) {
  return "compatibility_level = 3.6\n"
         "myhostname = mail.test\n"
         "inet_interfaces = 127.0.0.1\n"
         "inet_protocols = ipv4\n"
         "default_database_type = hash\n"
         "queue_directory = " +
         folder.Path("postfix/queue").string() +
         "\n"
         "data_directory = " +
         folder.Path("postfix/data").string() +
         "\n"
         "mydestination = " +
         folder.Path("mail/local-host-names").string() +
         ", $myhostname, localhost\n"
         "alias_maps = hash:" +
         folder.Path("mail/aliases").string() +
         "\n"
         "virtual_alias_maps = hash:" +
         folder.Path("mail/virtusertable").string() + "\n";
}

panel::Config MakeConfig(const TempFolder& folder, const std::string& database,
                         const std::string& postfix_command) {
  const std::string tool_option = " -c " + folder.Path("postfix").string();
  panel::Config config;
  config.file = folder.Path("zebmail.toml");
  config.state_dir = folder.Path("state");
  config.module_dir = ZEBMAIL_MODULE_DIR;
  config.database = database;
  config.param["MTA"] = "postfix";
  config.path["postfix-bin"] = postfix_command;
  config.path["postfix-virtusertable"] = folder.Path("mail/virtusertable");
  config.path["postfix-localhostnames"] = folder.Path("mail/local-host-names");
  config.path["postfix-accessdb"] = folder.Path("mail/access");
  config.path["postfix-aliases"] = folder.Path("mail/aliases");
  config.path["postfix-domainips"] = folder.Path("mail/domainips");
  config.path["postfix-master"] = folder.Path("mail/master.cf");
  config.path["postfix-postmap"] = "/usr/sbin/postmap" + tool_option;
  config.path["postfix-postalias"] = "/usr/sbin/postalias" + tool_option;
  return config;
}

}  // namespace

TestPanel::TestPanel()
    : database_(folder_.Path("panel.db")),
      postfix_command_(folder_, "postfix-command"),
      config_(MakeConfig(folder_, database_.url(), postfix_command_.path())) {
  for (const char* table : {"virtusertable", "local-host-names", "access", "aliases", "domainips"})
    SetText(table, "");
  SetText("master.cf", kMasterCf);
  MakeOld(folder_.WriteText("postfix/main.cf", MainCf(folder_)));
  folder_.WriteText("postfix/master.cf", kMasterCf);
  if (database_.IsFile()) folder_.WriteText("panel.db", "");
  std::filesystem::create_directory(state_dir());
  panel::UseConfig(config_);
}

std::string TestPanel::Lookup(const std::string& name, const std::string& key) const {
  const CommandRun run = RunCommand(
      {"/usr/sbin/postmap", "-c", postfix_dir(), "-q", key, "hash:" + Table(name).string()});
  if (!run.errors.empty()) throw std::runtime_error(run.errors);
  return run.output.substr(0, run.output.find('\n'));
}

void TestPanel::SetPath(const std::string& name, const std::string& value) {
  config_.path[name] = value;
  panel::UseConfig(config_);
}

void TestPanel::SetDatabase(const std::string& url) {
  config_.database = url;
  panel::UseConfig(config_);
}

void TestPanel::SetParam(const std::string& name, const std::string& value) {
  config_.param[name] = value;
  panel::UseConfig(config_);
}

}  // namespace test_support
