/// NAME
///   alias_forward_test - the commands about aliases and forwards, seen in the table files and in
///   what they print

#include <string>

#include <gtest/gtest.h>

#include "tests/zebmail/own_panel.h"

namespace zebmail_test {
namespace {

TEST(AliasAdd, WritesLinesThatLeadToTheMailbox) {
  const MailboxPanel panel;

  EXPECT_EQ(panel.Do({"alias", "add", "info@example.org", "sales", "Office"}),
            "info@example.org: aliases added: sales, Office\n");
  panel.Do({"alias", "add", "info@example.org", "help"});

  EXPECT_EQ(panel.MailboxTables(),
            "-- virtusertable\n"
            "@example.org\tpostfix_err_nouser\n"
            "info@example.org\tinfo@example.org\n"
            "help@example.org\tinfo@example.org\n"
            "office@example.org\tinfo@example.org\n"
            "sales@example.org\tinfo@example.org\n"
            "-- access\n"
            "-- aliases\n");
  EXPECT_EQ(panel.Lookup("virtusertable", "office@example.org"), "info@example.org");
}

TEST(AliasAdd, KeepsTheDomainInAscii) {
  const AnsweringPanel panel;
  panel.Do({"domain", "create", "bücher.example"});
  panel.Do({"mailbox", "create", "info@bücher.example"});

  EXPECT_EQ(panel.Do({"alias", "add", "info@bücher.example", "sales"}),
            "info@bücher.example: aliases added: sales\n");

  EXPECT_EQ(panel.Lookup("virtusertable", "sales@xn--bcher-kva.example"),
            "info@xn--bcher-kva.example");
}

TEST(AliasRemove, RemovesTheirLines) {
  const MailboxPanel panel;
  panel.Do({"alias", "add", "info@example.org", "sales", "office", "help"});

  EXPECT_EQ(panel.Do({"alias", "remove", "info@example.org", "HELP", "sales"}),
            "info@example.org: aliases removed: HELP, sales\n");

  EXPECT_EQ(panel.Table("virtusertable"),
            "@example.org\tpostfix_err_nouser\n"
            "info@example.org\tinfo@example.org\n"
            "office@example.org\tinfo@example.org\n");
  EXPECT_EQ(panel.Lookup("virtusertable", "sales@example.org"), "");
}

TEST(AliasRemove, AllowsOneToBecomeAMailbox) {
  const MailboxPanel panel;
  panel.Do({"alias", "add", "info@example.org", "sales"});
  panel.Do({"alias", "remove", "info@example.org", "sales"});

  EXPECT_EQ(panel.Do({"mailbox", "create", "sales@example.org"}), "sales@example.org: created\n");
}

TEST(AliasList, PrintsNamesInTheOrderOfAdding) {
  const MailboxPanel panel;
  EXPECT_EQ(panel.Do({"alias", "list", "info@example.org"}), "");
  EXPECT_EQ(panel.Do({"--json", "alias", "list", "info@example.org"}), "[]\n");
  panel.Do({"alias", "add", "info@example.org", "sales", "help"});

  EXPECT_EQ(panel.Do({"alias", "list", "info@example.org"}), "sales\nhelp\n");
  EXPECT_EQ(panel.Do({"--json", "alias", "list", "info@example.org"}),
            "[\n"
            "  \"sales\",\n"
            "  \"help\"\n"
            "]\n");
}

TEST(ForwardAdd, WritesEntryAndNamesItInTheMailboxsLine) {
  const MailboxPanel panel;

  EXPECT_EQ(panel.Do({"forward", "add", "info@example.org", "Boss@Example.NET", "x@a.example"}),
            "info@example.org: forwards added: Boss@Example.NET, x@a.example\n");
  panel.Do({"forward", "add", "info@example.org", "chef@bücher.example"});

  EXPECT_EQ(panel.MailboxTables(),
            "-- virtusertable\n"
            "@example.org\tpostfix_err_nouser\n"
            "info@example.org\tinfo@example.org info+example.org\n"
            "-- access\n"
            "-- aliases\n"
            "info+example.org:\tBoss@example.net,x@a.example,chef@xn--bcher-kva.example\n");
  EXPECT_EQ(panel.Lookup("aliases", "info+example.org"),
            "Boss@example.net, x@a.example, chef@xn--bcher-kva.example");
}

TEST(ForwardAdd, OfMailboxThatDropsItsMailLeavesTheForwardAlone) {
  const MailboxPanel panel;
  panel.Do({"mailbox", "update", "info@example.org", "--drop-mail", "on"});

  panel.Do({"forward", "add", "info@example.org", "boss@example.net"});

  EXPECT_EQ(panel.Lookup("virtusertable", "info@example.org"), "devnull info+example.org");
}

TEST(ForwardRemove, TakesTheLastOnesEntryAlong) {
  const MailboxPanel panel;
  const std::string before = panel.MailboxTables();
  panel.Do({"forward", "add", "info@example.org", "boss@example.net", "x@bücher.example"});

  EXPECT_EQ(panel.Do({"forward", "remove", "info@example.org", "boss@EXAMPLE.net"}),
            "info@example.org: forwards removed: boss@EXAMPLE.net\n");
  EXPECT_EQ(panel.Lookup("aliases", "info+example.org"), "x@xn--bcher-kva.example");

  panel.Do({"forward", "remove", "info@example.org", "x@bücher.example"});
  EXPECT_EQ(panel.MailboxTables(), before);
  EXPECT_EQ(panel.Lookup("aliases", "info+example.org"), "");
}

TEST(ForwardList, PrintsAddressesInTheOrderOfAdding) {
  const MailboxPanel panel;
  EXPECT_EQ(panel.Do({"forward", "list", "info@example.org"}), "");
  EXPECT_EQ(panel.Do({"--json", "forward", "list", "info@example.org"}), "[]\n");
  panel.Do({"forward", "add", "info@example.org", "x@bücher.example", "boss@example.net"});

  EXPECT_EQ(panel.Do({"forward", "list", "info@example.org"}),
            "x@bücher.example\nboss@example.net\n");
  EXPECT_EQ(panel.Do({"--json", "forward", "list", "info@example.org"}),
            "[\n"
            "  \"x@bücher.example\",\n"
            "  \"boss@example.net\"\n"
            "]\n");
}

TEST(AliasAndForwardJson, ConfirmChangeByTheMailbox) {
  const MailboxPanel panel;
  panel.Do({"alias", "add", "info@example.org", "sales"});

  EXPECT_EQ(panel.Do({"--json", "forward", "add", "info@example.org", "boss@example.net"}),
            "{\n"
            "  \"address\": \"info@example.org\",\n"
            "  \"active\": true,\n"
            "  \"dropmail\": false,\n"
            "  \"aliases\": [\n"
            "    \"sales\"\n"
            "  ],\n"
            "  \"forwards\": [\n"
            "    \"boss@example.net\"\n"
            "  ],\n"
            "  \"responder\": false\n"
            "}\n");
  EXPECT_EQ(panel.Do({"--json", "alias", "remove", "info@example.org", "sales"}),
            "{\n"
            "  \"address\": \"info@example.org\",\n"
            "  \"active\": true,\n"
            "  \"dropmail\": false,\n"
            "  \"aliases\": [],\n"
            "  \"forwards\": [\n"
            "    \"boss@example.net\"\n"
            "  ],\n"
            "  \"responder\": false\n"
            "}\n");
}

TEST(AliasAndForwardQuiet, KeepConfirmationsBack) {
  const MailboxPanel panel;

  EXPECT_EQ(panel.Do({"--quiet", "alias", "add", "info@example.org", "sales"}), "");
  EXPECT_EQ(panel.Do({"--quiet", "--json", "alias", "remove", "info@example.org", "sales"}), "");
  EXPECT_EQ(panel.Do({"--quiet", "forward", "add", "info@example.org", "boss@example.net"}), "");
  EXPECT_EQ(panel.Do({"--quiet", "forward", "remove", "info@example.org", "boss@example.net"}), "");
}

}  // namespace
}  // namespace zebmail_test
