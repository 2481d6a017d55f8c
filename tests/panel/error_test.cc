/// NAME
///   error_test - the text of an error

#include <string>

#include <gtest/gtest.h>

#include "host/fen_err.h"

namespace {

TEST(Error, SaysTypeObjectAndValue) {
  const fen_err::Error error("missing", "/etc/mail/access", "example.org");

  EXPECT_STREQ(error.what(), "missing: /etc/mail/access: example.org");
  EXPECT_EQ(error.type(), "missing");
  EXPECT_EQ(error.object(), "/etc/mail/access");
  EXPECT_EQ(error.value(), "example.org");
}

TEST(Error, LeavesOutEmptyTexts) {
  EXPECT_STREQ(fen_err::Error("not_supported").what(), "not_supported");
  EXPECT_STREQ(fen_err::Error("changed", "/etc/mail/access", "").what(),
               "changed: /etc/mail/access");
  EXPECT_STREQ(fen_err::Error("random", "", "no entropy").what(), "random: no entropy");
  EXPECT_STREQ(fen_err::Error("", "", "").what(), "");
}

TEST(Error, KeepsTheLinesOfAToolsOutput) {
  const fen_err::Error error("email", "postmap", "fatal: open\nsecond line\n");

  EXPECT_STREQ(error.what(), "email: postmap: fatal: open\nsecond line\n");
}

TEST(Error, IsReportedOnlyWhenMarked) {
  fen_err::Error error("email", "postmap", "");

  EXPECT_FALSE(error.report());
  error.set_report();
  EXPECT_TRUE(error.report());
}

TEST(Error, KeepsItsMarkWhenItIsThrown) {
  fen_err::Error error("email", "postmap", "output");
  error.set_report();

  try {
    throw error;
  } catch (const std::exception& caught) {
    const auto* same = dynamic_cast<const fen_err::Error*>(&caught);
    ASSERT_NE(same, nullptr);
    EXPECT_TRUE(same->report());
    EXPECT_STREQ(same->what(), "email: postmap: output");
  }
}

}  // namespace
