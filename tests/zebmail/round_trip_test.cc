/// NAME
///   round_trip_test - what the panel has written, read into an empty panel, is the same again
///
/// PURPOSE
///   Brings a panel by random commands into a random state, which the back-end writes to the
///   tables, and reads these into a database that knows nothing but the web domains. What it knows
///   then must be what the first one knew, but for what the tables cannot hold.
///
/// WHAT THE TABLES CANNOT HOLD
///   See Remembered(), which takes it away from what is expected.

#include <algorithm>
#include <array>
#include <filesystem>
#include <random>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/zebmail/hand_kept_panel.h"

namespace zebmail_test {
namespace {

using Json = nlohmann::json;
using Words = std::vector<std::string>;

constexpr int kFirstMailboxes = 10;
constexpr int kSteps = 60;

const std::array<std::string, 4> kDomains = {"a.example", "b.example", "xn--bcher-kva.example",
                                             "mail.shop.example"};
const std::array<std::string, 6> kNames = {"info", "sales", "x+y", "john.doe", "help", "o'neil"};
const std::array<std::string, 4> kForwards = {"x@c.example", "y+z@c.example", "info@a.example",
                                              "x@xn--mller-kva.example"};
const std::array<std::string, 4> kAddresses = {"127.0.0.10", "127.0.0.11", "", "::1"};
const std::array<std::string, 8> kSenders = {"foe@c.example", "c.example",      "192.0.2.1",
                                             "2001:db8::1",   "a.example",      "info@a.example",
                                             "b.example",     "sales@b.example"};

/// All that the panel knows.
struct State {
  Json domains;
  Json mailboxes;
  Json whitelist;
  Json blacklist;

  bool operator==(const State&) const = default;
};

void PrintTo(const State& state, std::ostream* out) {
  *out << Json{{"domains", state.domains},
               {"mailboxes", state.mailboxes},
               {"whitelist", state.whitelist},
               {"blacklist", state.blacklist}}
              .dump(1);
}

/// What the panel knows, the aliases of each mailbox in the order of the alphabet: a new alias has
/// its line directly below that of the mailbox, so the lines stand in another order than the rows.
State StateOf(const OwnPanel& panel) {
  const auto list = [&panel](const char* what) {
    return Json::parse(panel.Do({"--json", what, "list"}));
  };
  State state{list("domain"), list("mailbox"), list("whitelist"), list("blacklist")};
  for (Json& mailbox : state.mailboxes) {
    std::sort(mailbox["aliases"].begin(), mailbox["aliases"].end());
  }
  return state;
}

/// Takes what a database that had nothing of it before cannot know out of the state:
///   - the verdict on a domain of the panel itself, whose place in the access table is for its
///     suspension and is made free while it is not suspended;
///   - the verdict on a suspended mailbox, in whose place the suspension stands;
///   - that a suspended domain's address is on the white list, which would let its mail in;
///   - the default action of a suspended domain, whose line says "error" as long as it is;
///   - whether a suspended mailbox drops its mail, since its line says something else;
///   - responders, whose commands name the mailbox by a key of the first database.
State Remembered(State state) {
  std::set<Json> own;
  std::set<std::string> suspended;
  for (Json& domain : state.domains) {
    own.insert(domain["name"]);
    if (domain["active"]) continue;
    suspended.insert(domain["name"]);
    domain["defaction"] = "error";
    domain["redirect"] = "";
  }
  for (Json& mailbox : state.mailboxes) {
    mailbox["responder"] = false;
    if (mailbox["active"]) continue;
    own.insert(mailbox["address"]);
    mailbox["dropmail"] = false;
  }
  for (Json* const list : {&state.whitelist, &state.blacklist}) {
    Json kept = Json::array();
    for (const std::string value : *list) {
      const bool is_passed_over =
          list == &state.whitelist && suspended.contains(value.substr(value.find('@') + 1));
      if (!own.contains(value) && !is_passed_over) kept.push_back(value);
    }
    *list = kept;
  }
  return state;
}

/// Without IPv6 addresses: their lines stay in master.cf when a domain is unbound.
State WithoutIp6(State state) {
  for (Json& domain : state.domains) {
    if (domain["ip"].get<std::string>().find(':') != std::string::npos) domain["ip"] = "";
  }
  return state;
}

class RoundTrip : public testing::TestWithParam<unsigned> {
 protected:
  RoundTrip() : panel_(Words(kDomains.begin(), kDomains.end())) {
    panel_.Configure("postfix-postmap", "/usr/bin/true");
    panel_.Configure("postfix-postalias", "/usr/bin/true");
    for (const std::string& name : kDomains) Run(With({"domain", "create", name}, Settings()));
    for (int number = 0; number < kFirstMailboxes; ++number) {
      Run({"mailbox", "create", Mailbox()});
    }
    for (int step = 0; step < kSteps; ++step) Run(Command());
  }

  /// Goes on with the database that knows nothing but the web domains.
  void TakeEmptyDatabase() {
    panel_.MoveTo(empty_.url());
    for (const std::string& name : kDomains) panel_.AddWebDomain(name);
  }

  std::string AllTables() const { return panel_.Tables() + panel_.MailboxTables(); }

  HandKeptPanel panel_;
  const test_support::TestDatabase empty_{panel_.Path("panel/empty.db")};
  std::string done_;  ///< the commands that the panel has carried out

 private:
  std::size_t Below(std::size_t limit) {
    return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random_);
  }

  template <class Values>
  const std::string& Pick(const Values& values) {
    return values[Below(values.size())];
  }

  std::string Mailbox() { return Pick(kNames) + "@" + Pick(kDomains); }

  /// Has the panel carry out a command, or refuse it in its state.
  void Run(const Words& words) {
    const CommandRun run = panel_.Run(words);
    ASSERT_TRUE(run.status == 0 || run.status == 1) << run.errors;
    if (run.status == 1) return;
    for (const std::string& word : words) done_ += (word.empty() ? "''" : word) + " ";
    done_ += "\n";
  }

  /// A random command.
  Words Command() {
    switch (Below(16)) {
      case 0:
      case 1:
        return With({"domain", "create", Pick(kDomains)}, Settings());
      case 2:
        return With({"domain", "update", Pick(kDomains)}, Settings());
      case 3:
        return {"domain", Below(2) == 0 ? "suspend" : "resume", Pick(kDomains)};
      case 4:
        return Below(4) == 0 ? Words{"domain", "delete", Pick(kDomains)}
                             : Words{"mailbox", "delete", Mailbox()};
      case 5:
      case 6:
      case 7:
        return With({"mailbox", "create", Mailbox()},
                    Below(3) == 0 ? Words{"--drop-mail"} : Words{});
      case 8:
        return {"mailbox", "update", Mailbox(), "--drop-mail", Below(2) == 0 ? "on" : "off"};
      case 9:
        return {"mailbox", Below(2) == 0 ? "suspend" : "resume", Mailbox()};
      case 10:
      case 11:
        return {"alias", Below(4) == 0 ? "remove" : "add", Mailbox(), Pick(kNames)};
      case 12:
      case 13:
        return {"forward", Below(4) == 0 ? "remove" : "add", Mailbox(), Pick(kForwards)};
      case 14:
        return {"responder", Below(3) == 0 ? "off" : "on", Mailbox()};
      default:
        return {Below(2) == 0 ? "whitelist" : "blacklist", Below(4) == 0 ? "remove" : "add",
                Pick(kSenders)};
    }
  }

  Words Settings() {
    Words words;
    if (Below(2) == 0) words = {"--ip", Pick(kAddresses)};
    switch (Below(5)) {
      case 0:
        return With(words, {"--default-action", "error"});
      case 1:
        return With(words, {"--default-action", "ignore"});
      case 2:
        return With(words, {"--default-action", "redir_email", "--redirect", Mailbox()});
      case 3:
        return With(words, {"--default-action", "redir_domain", "--redirect", "other.example"});
      default:
        return words;
    }
  }

  static Words With(Words words, const Words& more) {
    words.insert(words.end(), more.begin(), more.end());
    return words;
  }

  std::mt19937 random_{GetParam()};
};

TEST_P(RoundTrip, IntoAnEmptyDatabaseGivesTheSameState) {
  SCOPED_TRACE("seed " + std::to_string(GetParam()) + "\n" + done_);
  const State before = StateOf(panel_);
  const std::string tables = AllTables();
  ASSERT_GT(std::count(done_.begin(), done_.end(), '\n'), kSteps / 4);

  TakeEmptyDatabase();
  panel_.Do({"sync"});

  EXPECT_EQ(WithoutIp6(StateOf(panel_)), WithoutIp6(Remembered(before))) << tables;
}

TEST_P(RoundTrip, IntoThePanelsOwnDatabaseChangesNothing) {
  SCOPED_TRACE("seed " + std::to_string(GetParam()) + "\n" + done_);
  const State before = StateOf(panel_);
  const std::string tables = AllTables();

  panel_.Do({"sync"});

  EXPECT_EQ(StateOf(panel_), before) << tables;
}

INSTANTIATE_TEST_SUITE_P(Seeds, RoundTrip, testing::Range(1U, 7U));

}  // namespace
}  // namespace zebmail_test
