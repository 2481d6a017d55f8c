/// NAME
///   trace_test - whether messages go the way that `zebmail trace` shows
///
/// PURPOSE
///   Sends a real message to each of many addresses and compares what becomes of it, by the replies
///   and the log of Postfix, with the ends that `trace --json` names.

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/delivery/mail_ends.h"
#include "tests/delivery/mail_host.h"
#include "tests/support/command.h"
#include "tests/support/temp_folder.h"

namespace test_support {
namespace {

class TracedMail : public MailHost {
 protected:
  /// Postfix reads the setting with the reload that the first domain brings.
  TracedMail() {
    postfix_.Set("recipient_delimiter=+");
    CreateDomain("example.org");
  }

  /// Puts lines behind those of a table and has its map built.
  void AddLines(const std::string& table, const std::string& lines, const std::string& tool) const {
    const std::filesystem::path path = folder_.Path("mail/" + table);
    WriteText(path, ReadText(path) + lines);
    EXPECT_EQ(RunCommand({"/usr/sbin/" + tool, "-c", postfix_.config_dir(), path}).status, 0);
  }

  /// In each of two tables, one line more than Postfix follows.
  void AddChains() const {
    std::string lines;
    for (int number = 0; number < 1000; ++number) {
      lines += "v" + std::to_string(number) + "@example.org v" + std::to_string(number + 1) +
               "@example.org\n";
    }
    AddLines("virtusertable", lines + "v1000@example.org games\n", "postmap");
    lines.clear();
    for (int number = 0; number < 25; ++number) {
      lines += "e" + std::to_string(number) + ": e" + std::to_string(number + 1) + "\n";
    }
    AddLines("aliases", lines + "e25: games\n", "postalias");
  }

  Ends Traced(const std::string& recipient) const {
    const auto way = nlohmann::json::parse(Zebmail({"--json", "trace", recipient}));
    Ends ends;
    for (const auto& end : way["ends"]) {
      ends.push_back(end["how"].get<std::string>() + " " + end["address"].get<std::string>());
    }
    std::sort(ends.begin(), ends.end());
    return ends;
  }

  /// Where a message really ends.
  Ends Sent(const std::string& recipient) const {
    const Ends ends = SendToItsEnds(postfix_, "stranger@sender.test", recipient);
    const bool is_refused = ends.size() == 1 && (ends[0].front() == '4' || ends[0].front() == '5');
    return is_refused ? Ends{"refused " + recipient} : ends;
  }
};

INSTANTIATE_TEST_SUITE_P(MapTypes, TracedMail, testing::Values("lmdb"),
                         [](const auto& type) { return type.param; });

TEST_P(TracedMail, GoesThatWay) {
  CreateDomain("ignore.example", {"--default-action", "ignore"});
  CreateDomain("one.example",
               {"--default-action", "redir_email", "--redirect", "boss@elsewhere.test"});
  CreateDomain("other.example", {"--default-action", "redir_domain", "--redirect", "example.org"});
  CreateDomain("xn--bcher-kva.example",
               {"--default-action", "redir_domain", "--redirect", "else.test"});
  CreateDomain("gone.example");
  Zebmail({"domain", "suspend", "gone.example"});
  Zebmail({"mailbox", "create", "daemon@example.org"});
  Zebmail({"mailbox", "create", "no-such-user@example.org"});
  Zebmail({"mailbox", "create", "games@example.org"});
  Zebmail({"mailbox", "create", "drop@example.org", "--drop-mail"});
  Zebmail({"mailbox", "create", "away@example.org"});
  Zebmail({"mailbox", "suspend", "away@example.org"});
  Zebmail({"alias", "add", "daemon@example.org", "sales"});
  Zebmail({"forward", "add", "games@example.org", "boss@elsewhere.test", "daemon@example.org",
           "sales@example.org"});
  Zebmail({"responder", "on", "games@example.org"});
  Zebmail({"forward", "add", "drop@example.org", "boss@elsewhere.test"});
  AddLines("virtusertable",
           "chain@example.org link@example.org games\n"
           "link@example.org\tsales@example.org, \"x\"@elsewhere.test (no) Me <me@elsewhere.test>\n"
           "# a comment\n  devnull\n"
           "round@example.org about@example.org\nabout@example.org round@example.org\n"
           "half@example.org turn@example.org\nturn@example.org turn@example.org half@example.org\n"
           "host@example.org x%elsewhere.test elsewhere.test!y\n"
           "hash@example.org devnull # no comment\n",
           "postmap");
  AddChains();
  // Postfix goes round a circle many times; by this way in it gives up where it closes.
  AddLines("aliases",
           "into: ring\nring: gnir\ngnir: ring\nself: self, boss@elsewhere.test\n"
           "list: sales@example.org\nlist2: sales@example.org\nowner-list2: daemon\n",
           "postalias");
  AddLines("access", "moved@example.org REDIRECT daemon@example.org\n", "postmap");

  for (const char* recipient : {"nobody.here@example.org",
                                "any@ignore.example",
                                "any@one.example",
                                "daemon@other.example",
                                "any+ext@other.example",
                                "any@xn--bcher-kva.example",
                                "any@gone.example",
                                "daemon@example.org",
                                "Daemon@example.org",
                                "daemon+ext@example.org",
                                "no-such-user@example.org",
                                "games@example.org",
                                "drop@example.org",
                                "away@example.org",
                                "sales@example.org",
                                "sales+ext@example.org",
                                "chain@example.org",
                                "round@example.org",
                                "half@example.org",
                                "host@example.org",
                                "hash@example.org",
                                "into@mail.test",
                                "self@mail.test",
                                "list@mail.test",
                                "list2@mail.test",
                                "daemon@mail.test",
                                "unknown@mail.test",
                                "moved@example.org",
                                "e1@mail.test",
                                "e2@mail.test",
                                "v1@example.org",
                                "v2@example.org"}) {
    EXPECT_EQ(Traced(recipient), Sent(recipient)) << recipient;
  }
}

}  // namespace
}  // namespace test_support
