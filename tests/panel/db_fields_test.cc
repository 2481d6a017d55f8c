/// NAME
///   db_fields_test - what a field makes of its value

#include <ostream>
#include <string>

#include <gtest/gtest.h>

#include "host/zeb_db.h"
#include "tests/panel/db_fixture.h"

namespace {

using db_test::ErrorOf;

TEST(DatabaseFields, HoldValuesWithoutADatabase) {
  zeb_db::EmailDomainTable domain;
  domain.id = 7;
  domain.name = "example.org";
  domain.active = false;
  domain.users = 3;
  EXPECT_EQ(domain.id, 7);
  EXPECT_EQ(domain.name.Str(), "example.org");
  EXPECT_FALSE(domain.active);
  EXPECT_EQ(domain.users.Str(), "3");
}

TEST(DatabaseFields, OfANewRowHaveTheColumnsDefaults) {
  zeb_db::EmailTable mailbox;
  mailbox.name = "info";
  mailbox.active = false;
  mailbox.dropmail = true;
  mailbox.tag = -5;
  mailbox.New();
  EXPECT_EQ(mailbox.id, 0);
  EXPECT_EQ(mailbox.name.Str(), "");
  EXPECT_TRUE(mailbox.active);
  EXPECT_FALSE(mailbox.dropmail);
  EXPECT_EQ(mailbox.tag, 0);
}

TEST(DatabaseFields, BeginActiveInEveryTable) {
  EXPECT_TRUE(zeb_db::EmailDomainTable().active);
  EXPECT_TRUE(zeb_db::EmailTable().active);
  EXPECT_TRUE(zeb_db::EmailResponderTable().active);
}

TEST(DatabaseFields, TakeTheValueOfAnotherField) {
  zeb_db::EmailDomainTable domain;
  zeb_db::EmailTable mailbox;
  domain.id = 12;
  mailbox.domain = domain.id;
  EXPECT_EQ(mailbox.domain, 12);
}

TEST(DatabaseFields, GiveSqlLiterals) {
  zeb_db::EmailDomainTable domain;
  domain.id = -12;
  domain.active = true;
  domain.redirect = "o'neil\\@example.org";
  EXPECT_EQ(domain.id.AsString(), "-12");
  EXPECT_EQ(domain.active.AsString(), "true");
  EXPECT_EQ(domain.redirect.AsString(), "'o''neil\\@example.org'");
}

TEST(DatabaseFields, JoinToATextAsTheirLiteral) {
  zeb_db::EmailDomainTable domain;
  domain.id = 12;
  domain.redirect = "it's";
  EXPECT_EQ("email = " + domain.id, "email = 12");
  EXPECT_EQ("redirect = " + domain.redirect, "redirect = 'it''s'");
}

TEST(DatabaseFields, ReadTheirText) {
  zeb_db::EmailTable mailbox;
  mailbox.tag.Read("-2147483648");
  mailbox.dropmail.Read("t");
  mailbox.active.Read("0");
  EXPECT_EQ(mailbox.tag, -2147483648);
  EXPECT_TRUE(mailbox.dropmail);
  EXPECT_FALSE(mailbox.active);
}

TEST(DatabaseFields, RefuseATextOfAnotherType) {
  zeb_db::EmailTable mailbox;
  EXPECT_EQ(ErrorOf([&] { mailbox.tag.Read("12x"); }), "value: tag: 12x");
  EXPECT_EQ(ErrorOf([&] { mailbox.tag.Read(""); }), "value: tag");
  EXPECT_EQ(ErrorOf([&] { mailbox.active.Read("yes"); }), "value: active: yes");
}

TEST(DatabaseFields, RefuseTheLiteralOfATextWithANul) {
  zeb_db::EmailDomainTable domain;
  domain.redirect = std::string("a\0b", 3);
  EXPECT_EQ(ErrorOf([&] { domain.redirect.AsString(); }), "value: redirect: a\\x00b");
}

TEST(DatabaseFields, RefuseToWorkOnRowsWithoutADatabase) {
  zeb_db::EmailTable mailbox;
  const std::string message =
      "database: email: this row object was not taken from the panel database";
  mailbox.New();
  EXPECT_FALSE(mailbox.Eof());
  EXPECT_EQ(ErrorOf([&] { mailbox.Post(); }), message);
  EXPECT_EQ(ErrorOf([&] { mailbox.DbFind("id = 1"); }), message);
  EXPECT_EQ(ErrorOf([&] { mailbox.name.Lookup("info"); }), message);
}

struct Name {
  std::string given;
  std::string stored;
  std::string shown;
};

void PrintTo(const Name& name, std::ostream* stream) {
  *stream << testing::PrintToString(name.given);
}

class DomainNameField : public testing::TestWithParam<Name> {};

TEST_P(DomainNameField, KeepsTheAsciiFormAndShowsUnicode) {
  zeb_db::EmailDomainTable domain;
  domain.name = GetParam().given;
  EXPECT_EQ(domain.name.Str(), GetParam().stored);
  EXPECT_EQ(domain.name.Unicode(), GetParam().shown);
}

const std::string kTooLong = std::string(64, 'A') + ".example";

INSTANTIATE_TEST_SUITE_P(
    Names, DomainNameField,
    testing::Values(Name{"example.org", "example.org", "example.org"},
                    Name{"EXAMPLE.Org", "example.org", "example.org"},
                    Name{"bücher.example", "xn--bcher-kva.example", "bücher.example"},
                    Name{"BÜCHER.Example", "xn--bcher-kva.example", "bücher.example"},
                    Name{"XN--BCHER-KVA.example", "xn--bcher-kva.example", "bücher.example"},
                    Name{"straße.example", "xn--strae-oqa.example", "straße.example"},
                    Name{"", "", ""}, Name{kTooLong, kTooLong, kTooLong},
                    Name{"Foo_Bar.example", "foo_bar.example", "foo_bar.example"},
                    Name{"a\u2100b.example", "a\u2100b.example", "a\u2100b.example"},
                    Name{"A*b.example", "A*b.example", "A*b.example"},
                    Name{"-A.example", "-A.example", "-A.example"},
                    Name{"caf\xe9.example", "caf\xe9.example", "caf\xe9.example"}));

TEST(DatabaseFields, KeepADomainNameWithANulAsItIs) {
  zeb_db::EmailDomainTable domain;
  const std::string name("Exa\0mple.org", 12);
  domain.name = name;
  EXPECT_EQ(domain.name.Str(), name);
  EXPECT_EQ(domain.name.Unicode(), name);
}

}  // namespace
