/// NAME
///   operations - every kind of operation that the command has, on a busy panel

#include "tests/reliability/operations.h"

#include <filesystem>
#include <sstream>

namespace reliability {
namespace {

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
  return text.replace(text.find(from), from.size(), to);
}

/// What an administrator changes by hand: a domain and mailboxes that come, go and change.
void EditByHand(const BusyPanel& panel) {
  std::string text = panel.panel().Table("virtusertable");
  text = Replaced(text, "@ignore.example\tdevnull", "@ignore.example\tpostfix_err_nouser");
  text = Replaced(text, "user7@many.example\tuser7@many.example\n", "");
  text = Replaced(text, "alias7@many.example\tuser7@many.example\n", "");
  text += "@web.example\tdevnull\n";
  for (int number = 0; number < 50; ++number) {
    const std::string address = "hand" + std::to_string(number) + "@web.example";
    text += address + "\t" + address + "\n";
  }
  panel.panel().SetTable("virtusertable", text);
  panel.panel().SetTable("access", panel.panel().Table("access") + "hand.example\tOK\n");
  for (const char* table : {"virtusertable", "access"}) {
    test_support::RunCommand({"/usr/sbin/postmap", "-c", panel.panel().Path("config"),
                              "hash:" + panel.panel().Path("panel/mail/") + table});
  }
}

/// What a crash of the machine or a clumsy hand may leave.
void Break(const BusyPanel& panel) {
  namespace fs = std::filesystem;
  fs::remove(panel.panel().Path("panel/mail/virtusertable.db"));
  panel.panel().folder().WriteText("panel/mail/access.db", "no map");
  for (const auto& entry : fs::directory_iterator(panel.panel().Path("panel/state/responder"))) {
    fs::remove(entry.path() / "message");
  }
}

void Unwire(const BusyPanel& panel) {
  panel.panel().SetMainCf(panel.panel().BareMainCf() +
                          "mailbox_transport = lmtp:unix:private/imap-server\n");
}

std::string ManyLines() {
  std::string lines =
      "{\"type\":\"domain\",\"name\":\"imported.example\"}\n"
      "{\"type\":\"domain\",\"name\":\"suspended.example\",\"active\":true}\n"
      "{\"type\":\"domain\",\"name\":\"error.example\",\"defaction\":\"ignore\",\"ip\":\"127.0.0."
      "6\"}\n"
      "{\"type\":\"mailbox\",\"address\":\"info@error.example\",\"aliases\":[\"sales\",\"help\"]}\n"
      "{\"type\":\"mailbox\",\"address\":\"here@error.example\",\"responder\":true}\n"
      "{\"type\":\"webdomain\",\"name\":\"imported.example\",\"owner\":5}\n"
      "{\"type\":\"blacklist\",\"value\":\"imported.example\"}\n";
  for (int number = 0; number < 50; ++number) {
    lines += "{\"type\":\"mailbox\",\"address\":\"m" + std::to_string(number) +
             "@imported.example\",\"forwards\":[\"boss@example.net\"]}\n";
  }
  return lines;
}

std::vector<Words> DomainWords() {
  return {{"domain", "create", "new.example"},
          {"domain", "create", "new.example", "--default-action", "redir_email", "--redirect",
           "info@example.net", "--ip", "127.0.0.3"},
          {"domain", "update", "error.example", "--default-action", "ignore"},
          {"domain", "update", "moved.example", "--redirect", "example.org"},
          {"domain", "update", "error.example", "--owner", "7"},
          {"domain", "update", "error.example", "--ip", "127.0.0.5"},
          {"domain", "update", "bound.example", "--ip", "127.0.0.4"},
          {"domain", "update", "bound.example", "--ip", ""},
          {"domain", "suspend", "error.example"},
          {"domain", "suspend", "bound.example"},
          {"domain", "resume", "suspended.example"},
          {"domain", "delete", "error.example"},
          {"domain", "delete", "bound.example"},
          {"domain", "delete", "suspended.example"}};
}

std::vector<Words> MailboxWords() {
  return {{"mailbox", "create", "new@error.example"},
          {"mailbox", "create", "new@many.example", "--drop-mail"},
          {"mailbox", "update", "info@error.example", "--drop-mail", "on"},
          {"mailbox", "update", "drop@error.example", "--drop-mail", "off"},
          {"mailbox", "suspend", "info@error.example"},
          {"mailbox", "suspend", "away@error.example"},
          {"mailbox", "resume", "quiet@error.example"},
          {"mailbox", "delete", "info@error.example"},
          {"mailbox", "delete", "away@error.example"},
          {"alias", "add", "info@error.example", "help", "desk"},
          {"alias", "remove", "info@error.example", "sales"},
          {"forward", "add", "user1@many.example", "a@example.net", "b@example.net"},
          {"forward", "remove", "info@error.example", "boss@example.net"},
          {"responder", "on", "here@error.example"},
          {"responder", "on", "away@error.example", "--subject", "Still away"},
          {"responder", "off", "away@error.example"}};
}

std::vector<Words> OtherWords() {
  return {{"whitelist", "add", "192.0.2.8", "good@sender.example"},
          {"whitelist", "remove", "friend.example"},
          {"blacklist", "add", "bad.example", "2001:db8::66"},
          {"blacklist", "remove", "192.0.2.66"},
          {"webdomain", "add", "other.example", "--owner", "4"},
          {"webdomain", "remove", "web.example"}};
}

}  // namespace

std::vector<Operation> AllOperations() {
  using Before = Operation::Before;
  std::vector<Operation> operations;
  for (const auto& group : {DomainWords(), MailboxWords(), OtherWords()}) {
    for (const Words& words : group) operations.push_back({words, "", Before::kTogether, {}});
  }
  operations.push_back({{"import", "-"}, ManyLines(), Before::kTogether, {}});
  operations.push_back({{"sync"}, "", Before::kApart, &EditByHand});
  operations.push_back({{"check", "--fix"}, "", Before::kApart, &Break});
  operations.push_back({{"postfix-config", "--apply"}, "", Before::kApart, &Unwire});
  return operations;
}

std::string AsText(const Words& words) {
  std::string text = "zebmail";
  for (const std::string& word : words) text += " " + (word.empty() ? "\"\"" : word);
  return text;
}

}  // namespace reliability
