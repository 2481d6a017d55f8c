/// NAME
///   legal_names_test - names and texts that look dangerous, and may be there
///
/// PURPOSE
///   An address may hold most signs that mean something to a shell. They mean nothing where they
///   end up, in the tables and in the maps that Postfix reads; that is looked at with Postfix's own
///   tools.

#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/zebmail/own_panel.h"

namespace zebmail_test {
namespace {

using Names = std::vector<std::string>;

const std::string kAllSigns = "a$b&c'd*e+f-g/h=i?j^k_l`m{n|o}p~q";

/// Each sign at each place where it may stand, and all of them at once.
Names LegalNames() {
  static const std::string kSigns = "$&'*+-/=?^_`{|}~";
  static const std::string kNotFirst = "-/|~";
  Names names = {kAllSigns, "`touch$IFS/tmp/owned`", "a.|.b", "devnull", "*", "$HOME"};
  for (const char sign : kSigns) {
    names.push_back(std::string("a") + sign + "b");
    names.push_back(std::string("a") + sign);
    if (kNotFirst.find(sign) == std::string::npos) names.push_back(sign + std::string("b"));
  }
  return names;
}

/// All that the map of the table holds, a line an entry, as Postfix's tool reads it.
std::set<std::string> MapOf(const OwnPanel& panel, const std::string& table) {
  const CommandRun run =
      test_support::RunCommand({"/usr/sbin/postmap", "-c", panel.Path("config"), "-s",
                                "hash:" + panel.Path("panel/mail/" + table)});
  EXPECT_EQ(run.errors, "");
  std::istringstream text(run.output);
  std::set<std::string> lines;
  for (std::string line; std::getline(text, line);) {
    const bool is_postfixs_own = line.starts_with("@\t") || line.starts_with("YP_");
    if (!is_postfixs_own) lines.insert(line);
  }
  return lines;
}

Names Words(const Names& words, const Names& more, const std::string& domain = "") {
  Names all = words;
  for (const std::string& word : more) all.push_back(word + domain);
  return all;
}

TEST(LegalNames, OfAliasesAreInTheMapAsTheyAre) {
  const MailboxPanel panel;
  const Names names = LegalNames();

  panel.Do(Words({"alias", "add", "info@example.org"}, names));

  std::set<std::string> expected = {"@example.org\tpostfix_err_nouser",
                                    "info@example.org\tinfo@example.org"};
  for (const std::string& name : names) {
    std::string key = name + "@example.org";
    for (char& letter : key) letter = static_cast<char>(tolower(letter));
    expected.insert(key + "\tinfo@example.org");
  }
  EXPECT_EQ(MapOf(panel, "virtusertable"), expected);

  panel.Do(Words({"alias", "remove", "info@example.org"}, names));
  EXPECT_EQ(MapOf(panel, "virtusertable").size(), 2U);
}

TEST(LegalNames, OfForwardsAreInTheMapAsTheyAre) {
  const MailboxPanel panel;
  const Names names = LegalNames();

  panel.Do(Words({"forward", "add", "info@example.org"}, names, "@example.net"));

  std::string entry = "info+example.org\t";
  for (const std::string& name : names) {
    entry += (name == names.front() ? "" : ", ") + name + "@example.net";
  }
  EXPECT_EQ(MapOf(panel, "aliases"), (std::set<std::string>{"postfix_err_nouser\t\"| exit 67\"",
                                                            "devnull\t\"/dev/null\"", entry}));

  panel.Do(Words({"forward", "remove", "info@example.org"}, names, "@example.net"));
  EXPECT_EQ(MapOf(panel, "aliases").size(), 2U);
}

TEST(LegalNames, OfMailboxesAreInBothMapsAsTheyAre) {
  const AnsweringPanel panel;
  panel.Do({"domain", "create", "example.org"});
  std::set<std::string> lines = {"@example.org\tpostfix_err_nouser"};
  std::set<std::string> entries = {"postfix_err_nouser\t\"| exit 67\"", "devnull\t\"/dev/null\""};

  for (const std::string& name : Names{kAllSigns, "{a}", "`id`", "$a", "'a", "a/b"}) {
    const std::string address = name + "@example.org";
    const std::string key = name + "+example.org";
    panel.Do({"mailbox", "create", address});
    panel.Do({"forward", "add", address, name + "@example.net"});
    lines.insert(address + "\t" + address + " " + key);
    entries.insert(key + "\t" + name + "@example.net");
  }

  EXPECT_EQ(MapOf(panel, "virtusertable"), lines);
  EXPECT_EQ(MapOf(panel, "aliases"), entries);
}

TEST(LegalNames, AreTakenForNothingElseInAnyChange) {
  const AnsweringPanel panel;
  const std::string address = kAllSigns + "@example.org";
  panel.Do({"domain", "create", "example.org"});
  panel.Do({"mailbox", "create", address});
  const std::string before = panel.MailboxTables();

  panel.Do({"alias", "add", address, "z" + kAllSigns});
  panel.Do({"forward", "add", address, kAllSigns + "@example.net"});
  panel.Do({"responder", "on", address});
  EXPECT_EQ(panel.MailboxTables(),
            "-- virtusertable\n"
            "@example.org\tpostfix_err_nouser\n" +
                address + "\t" + address + " " + kAllSigns + "+example.org\nz" + address + "\t" +
                address + "\n-- access\n-- aliases\n" + kAllSigns + "+example.org:\t" + kAllSigns +
                "@example.net," + panel.AnswerOf(1) + "\n");
  panel.Do({"mailbox", "suspend", address});
  EXPECT_EQ(panel.Lookup("access", address), "550 Account disabled");
  panel.Do({"mailbox", "resume", address});
  panel.Do({"responder", "off", address});
  panel.Do({"forward", "remove", address, kAllSigns + "@example.net"});
  panel.Do({"alias", "remove", address, "z" + kAllSigns});
  EXPECT_EQ(panel.MailboxTables(), before);

  panel.Do({"mailbox", "delete", address});
  EXPECT_EQ(panel.Table("virtusertable"), "@example.org\tpostfix_err_nouser\n");
}

/// The text of a responder reaches neither a table nor a command.
TEST(LegalTexts, StayInTheMessage) {
  const MailboxPanel panel;
  const std::string subject = "$SUBJECT `id` $(id) | \"/bin/sh\" <>; #, :include:/etc/passwd \\";
  const std::string text = ".\n|\"/bin/sh\"\nFrom root\nBcc: x@example.net\n\n$SUBJECT\r\n\tfin";

  panel.Do({"responder", "on", "info@example.org", "--subject", subject, "--text-file", "-"}, text);

  EXPECT_EQ(panel.MailboxTables(),
            "-- virtusertable\n"
            "@example.org\tpostfix_err_nouser\n"
            "info@example.org\tinfo@example.org info+example.org\n"
            "-- access\n"
            "-- aliases\n"
            "info+example.org:\t" +
                panel.AnswerOf(1) + "\n");
  EXPECT_EQ(test_support::ReadText(panel.ResponderPath(1, "message")),
            "From: info@example.org\n"
            "Subject: " +
                subject +
                "\n"
                "Auto-Submitted: auto-replied\n"
                "MIME-Version: 1.0\n"
                "Content-Type: text/plain; charset=us-ascii\n"
                "Content-Transfer-Encoding: base64\n"
                "\n"
                "Lg0KfCIvYmluL3NoIg0KRnJvbSByb290DQpCY2M6IHhAZXhhbXBsZS5uZXQNCg0KJFNVQkpFQ1QN\nCglm"
                "aW4=\n");
}

TEST(LegalTexts, MayBeEmpty) {
  const MailboxPanel panel;

  panel.Do({"responder", "on", "info@example.org", "--subject", "", "--text-file", "-"}, "");

  EXPECT_EQ(panel.Do({"responder", "show", "info@example.org"}),
            "address: info@example.org\nactive: true\nsubject: \n\n");
}

TEST(LegalTexts, MayBeAsLongAsTheyAreAllowed) {
  const MailboxPanel panel;
  const std::string subject(400, 's');
  const std::string text(65536, 't');

  panel.Do({"responder", "on", "info@example.org", "--subject", subject, "--text-file", "-"}, text);

  EXPECT_EQ(panel.Do({"responder", "show", "info@example.org"}),
            "address: info@example.org\nactive: true\nsubject: " + subject + "\n\n" + text + "\n");
}

}  // namespace
}  // namespace zebmail_test
