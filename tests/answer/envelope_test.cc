/// NAME
///   envelope_test - from whom a message came and to whom it was sent

#include "zebmail/answer/envelope.h"

#include <cstdlib>

#include <gtest/gtest.h>

namespace zebmail::answer {
namespace {

/// Plays Postfix: sets the environment and writes the first fields.
class TheEnvelope : public testing::Test {
 protected:
  ~TheEnvelope() override {
    unsetenv("SENDER");
    unsetenv("ORIGINAL_RECIPIENT");
  }

  static Envelope Read(const std::string& sender, const std::string& recipient,
                       const std::string& header) {
    setenv("SENDER", sender.c_str(), 1);
    setenv("ORIGINAL_RECIPIENT", recipient.c_str(), 1);
    return ReadEnvelope(MessageHeader(header));
  }
};

TEST_F(TheEnvelope, IsInTheEnvironment) {
  const Envelope envelope = Read("bob@x.test", "info@example.org", "To: a@b.test\n");

  EXPECT_EQ(envelope.sender, "bob@x.test");
  EXPECT_EQ(envelope.recipient, "info@example.org");
}

TEST_F(TheEnvelope, IsNotWhatTheHeaderSays) {
  const Envelope envelope =
      Read("bob@x.test", "info@example.org",
           "Return-Path: <eve@x.test>\nX-Original-To: eve@x.test\nFrom: eve@x.test\n");

  EXPECT_EQ(envelope.sender, "bob@x.test");
  EXPECT_EQ(envelope.recipient, "info@example.org");
}

TEST_F(TheEnvelope, HasTheCharactersThatTheEnvironmentDoesNotShow) {
  const Envelope envelope = Read("o_brien@x.test", "o_hara@example.org",
                                 "Return-Path: <o'brien@x.test>\n"
                                 "X-Original-To: o'hara@example.org\n"
                                 "Delivered-To: o'hara+example.org@mail.test\n"
                                 "Return-Path: <eve@x.test>\n"
                                 "X-Original-To: eve@x.test\n");

  EXPECT_EQ(envelope.sender, "o'brien@x.test");
  EXPECT_EQ(envelope.recipient, "o'hara@example.org");
}

TEST_F(TheEnvelope, KeepsQuotesWhereTheAddressNeedsThem) {
  EXPECT_EQ(Read("o_brien@x.test", "", "Return-Path: <\"o brien\"@x.test>\n").sender,
            "\"o brien\"@x.test");
}

TEST_F(TheEnvelope, KeepsUnderscores) {
  EXPECT_EQ(Read("a_b@x.test", "", "Return-Path: <a_b@x.test>\n").sender, "a_b@x.test");
  EXPECT_EQ(Read("a_b@x.test", "", "To: a@b.test\n").sender, "a_b@x.test");
}

TEST_F(TheEnvelope, IsEmptyWhereTheEnvironmentSaysNothing) {
  unsetenv("SENDER");
  unsetenv("ORIGINAL_RECIPIENT");

  const Envelope envelope = ReadEnvelope(MessageHeader("Return-Path: <eve@x.test>\n"));

  EXPECT_EQ(envelope.sender, "");
  EXPECT_EQ(envelope.recipient, "");
}

}  // namespace
}  // namespace zebmail::answer
