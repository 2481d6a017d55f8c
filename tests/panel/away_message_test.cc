/// NAME
///   away_message_test - the message that answers for a mailbox

#include "panel/mail/away_message.h"

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/fen_err.h"

namespace panel_test {
namespace {

using panel::mail::AwayMessage;
using panel::mail::CheckSubject;
using panel::mail::CheckText;
using testing::EndsWith;

template <class Check>
std::string FailureOf(const Check& check, const std::string& value) {
  try {
    check(value);
  } catch (const fen_err::Error& error) {
    return error.what();
  }
  return "";
}

TEST(AwayMessage, IsAWholeMessageWithoutItsAddressee) {
  EXPECT_EQ(AwayMessage("info@example.org", "Away", "Back on Monday.\n"),
            "From: info@example.org\n"
            "Subject: Away\n"
            "Auto-Submitted: auto-replied\n"
            "MIME-Version: 1.0\n"
            "Content-Type: text/plain; charset=us-ascii\n"
            "Content-Transfer-Encoding: base64\n"
            "\n"
            "QmFjayBvbiBNb25kYXkuDQo=\n");
}

TEST(AwayMessage, EncodesWhatIsNotAscii) {
  EXPECT_EQ(AwayMessage("info@example.org", "Bin verreist — bücher", "Zurück am 1. März €\n"),
            "From: info@example.org\n"
            "Subject: Bin verreist =?UTF-8?B?4oCUIGLDvGNoZXI=?=\n"
            "Auto-Submitted: auto-replied\n"
            "MIME-Version: 1.0\n"
            "Content-Type: text/plain; charset=utf-8\n"
            "Content-Transfer-Encoding: base64\n"
            "\n"
            "WnVyw7xjayBhbSAxLiBNw6RyeiDigqwNCg==\n");
}

TEST(AwayMessage, LeavesNoLineOfTheTextAsItIs) {
  const std::string message =
      AwayMessage("info@example.org", "Away", "first\n.\nFrom me\n$SUBJECT\nTo: x@example.net\n");

  EXPECT_EQ(message.substr(message.find("\n\n") + 2),
            "Zmlyc3QNCi4NCkZyb20gbWUNCiRTVUJKRUNUDQpUbzogeEBleGFtcGxlLm5ldA0K\n");
}

TEST(AwayMessage, HasTheLineEndsOfAMessageInItsEncodedText) {
  const std::string expected = AwayMessage("info@example.org", "Away", "one\r\n\r\ntwo\r\n");
  EXPECT_THAT(expected, EndsWith("\n\nb25lDQoNCnR3bw0K\n"));

  for (const char* text : {"one\n\ntwo\n", "one\r\n\ntwo\n", "one\n\r\ntwo\r\n", "one\r\rtwo\r"}) {
    EXPECT_EQ(AwayMessage("info@example.org", "Away", text), expected) << text;
  }
}

TEST(AwayMessage, GetsNoLineEndWhereItsTextHasNone) {
  EXPECT_THAT(AwayMessage("info@example.org", "Away", "one\ntwo"), EndsWith("\n\nb25lDQp0d28=\n"));
}

TEST(AwayMessage, MayHaveNeitherSubjectNorText) {
  EXPECT_EQ(AwayMessage("info@example.org", "", ""),
            "From: info@example.org\n"
            "Subject: \n"
            "Auto-Submitted: auto-replied\n"
            "MIME-Version: 1.0\n"
            "Content-Type: text/plain; charset=us-ascii\n"
            "Content-Transfer-Encoding: base64\n"
            "\n");
}

TEST(AwaySubject, IsOneLineOfUtf8) {
  EXPECT_EQ(FailureOf(CheckSubject, "Bin verreist — «$SUBJECT» \"|x\""), "");
  EXPECT_EQ(FailureOf(CheckSubject, "a\nBcc: x@example.net"),
            "value: subject: holds control characters");
  EXPECT_EQ(FailureOf(CheckSubject, "a\rb"), "value: subject: holds control characters");
  EXPECT_EQ(FailureOf(CheckSubject, std::string("a\0b", 3)), "value: subject: is not UTF-8");
  EXPECT_EQ(FailureOf(CheckSubject, "a\x1b[31m"), "value: subject: holds control characters");
  EXPECT_EQ(FailureOf(CheckSubject, "a\xff"), "value: subject: is not UTF-8");
  EXPECT_EQ(FailureOf(CheckSubject, std::string(401, 'a')),
            "value: subject: is longer than 400 bytes");
}

TEST(AwayText, IsUtf8WithLineEndsAndTabs) {
  EXPECT_EQ(FailureOf(CheckText, "first\r\n\tsecond — third\n.\n"), "");
  EXPECT_EQ(FailureOf(CheckText, std::string("a\0b", 3)), "value: text: is not UTF-8");
  EXPECT_EQ(FailureOf(CheckText, "a\x1b[31m"), "value: text: holds control characters");
  EXPECT_EQ(FailureOf(CheckText, "a\xff"), "value: text: is not UTF-8");
  EXPECT_EQ(FailureOf(CheckText, std::string(65537, 'a')),
            "value: text: is longer than 65536 bytes");
}

}  // namespace
}  // namespace panel_test
