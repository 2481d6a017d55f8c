/// NAME
///   message_header_test - the header of a message, field by field

#include "zebmail/answer/message_header.h"

#include <system_error>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "panel/process/file_handle.h"
#include "tests/support/temp_folder.h"

namespace zebmail::answer {

bool operator==(const HeaderField& one, const HeaderField& other) {
  return one.name == other.name && one.value == other.value;
}

void PrintTo(const HeaderField& field, std::ostream* stream) {
  *stream << field.name << ": " << field.value;
}

namespace {

using test_support::TempFolder;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

using Fields = std::vector<HeaderField>;

Fields FieldsOf(const std::string& text) {
  return MessageHeader(text).fields();
}

TEST(MessageHeader, GivesItsFieldsFromTopToBottom) {
  EXPECT_THAT(FieldsOf("To: info@example.org\nSubject: a: b\n\nText\n"),
              ElementsAre(HeaderField{"to", "info@example.org"}, HeaderField{"subject", "a: b"}));
}

TEST(MessageHeader, EndsAtTheFirstEmptyLine) {
  EXPECT_THAT(FieldsOf("To: a\n\nList-Id: b\n"), ElementsAre(HeaderField{"to", "a"}));
  EXPECT_THAT(FieldsOf("To: a\r\n\r\nList-Id: b\r\n"), ElementsAre(HeaderField{"to", "a"}));
}

TEST(MessageHeader, MayEndWithTheMessage) {
  EXPECT_THAT(FieldsOf("To: a\nCc: b"),
              ElementsAre(HeaderField{"to", "a"}, HeaderField{"cc", "b"}));
  EXPECT_THAT(FieldsOf(""), IsEmpty());
  EXPECT_THAT(FieldsOf("\nText\n"), IsEmpty());
}

TEST(MessageHeader, JoinsFoldedLines) {
  EXPECT_THAT(FieldsOf("To: a,\n b,\n\tc\nCc:\n d\n"),
              ElementsAre(HeaderField{"to", "a, b,\tc"}, HeaderField{"cc", "d"}));
}

TEST(MessageHeader, TakesLinesThatEndAsInSmtp) {
  EXPECT_THAT(FieldsOf("To: a,\r\n b\r\nCc: c\r\n"),
              ElementsAre(HeaderField{"to", "a, b"}, HeaderField{"cc", "c"}));
}

TEST(MessageHeader, TakesBlanksAroundTheName) {
  EXPECT_THAT(FieldsOf("To : a\nCC:b  \n"),
              ElementsAre(HeaderField{"to", "a"}, HeaderField{"cc", "b"}));
}

TEST(MessageHeader, PassesOverWhatIsNoField) {
  EXPECT_THAT(FieldsOf("From bob@x.test  Sat Nov 21 02:47:00 2026\n"
                       "no colon here\n"
                       " goes on\n"
                       "two words: value\n"
                       ": no name\n"
                       "To: a\n"),
              ElementsAre(HeaderField{"to", "a"}));
}

TEST(MessageHeader, GivesNoLineThatGoesOnWithWhatIsNoFieldToTheFieldAbove) {
  EXPECT_THAT(FieldsOf(" first\nTo: a\nno colon here\n b\n"), ElementsAre(HeaderField{"to", "a"}));
}

TEST(MessageHeader, GivesAllValuesOfAName) {
  const MessageHeader header("Received: a\nTo: b\nRECEIVED: c\n");

  EXPECT_THAT(header.Values("received"), ElementsAre("a", "c"));
  EXPECT_THAT(header.Values("cc"), IsEmpty());
}

TEST(MessageHeader, CopesWithAnyBytes) {
  const std::string bytes("To: \0\xff\x80\nCc\xff: z\n", 15);

  EXPECT_THAT(FieldsOf(bytes), ElementsAre(HeaderField{"to", std::string("\0\xff\x80", 3)},
                                           HeaderField{"cc\xff", "z"}));
}

TEST(MessageHeader, TakesTimeInProportionToItsLength) {
  constexpr std::size_t kLines = 1'000'000;
  std::string folded = "To: a\n";
  std::string fields;
  for (std::size_t line = 0; line < kLines; ++line) {
    folded += " b\n";
    fields += "a:\n";
  }

  EXPECT_THAT(FieldsOf(folded), SizeIs(1));
  EXPECT_THAT(FieldsOf(fields), SizeIs(kLines));
}

/// Reads a message from a file.
class ReadingAHeader : public testing::Test {
 protected:
  std::optional<std::string> Read(const std::string& message, std::size_t limit) {
    file_ = panel::FileHandle(
        open(folder_.WriteText("message", message).c_str(), O_RDONLY | O_CLOEXEC));
    return ReadHeaderText(file_.get(), limit);
  }

  /// How much of the message was read.
  std::size_t Place() const { return static_cast<std::size_t>(lseek(file_.get(), 0, SEEK_CUR)); }

  TempFolder folder_;
  panel::FileHandle file_;
};

TEST_F(ReadingAHeader, KeepsTheHeaderAlone) {
  EXPECT_EQ(Read("To: a\nCc: b\n\nText\n\nText\n", 1000), "To: a\nCc: b\n\n");
}

TEST_F(ReadingAHeader, ReadsTheMessageToItsEnd) {
  const std::string text(1'000'000, 'x');

  EXPECT_EQ(Read("To: a\n\n" + text, 100), "To: a\n\n");
  EXPECT_EQ(Place(), 7 + text.size());
}

TEST_F(ReadingAHeader, TakesAMessageWithoutText) {
  EXPECT_EQ(Read("To: a\n", 1000), "To: a\n");
  EXPECT_EQ(Read("", 1000), "");
}

TEST_F(ReadingAHeader, TakesAHeaderUpToTheLimit) {
  const std::string header = "To: " + std::string(100'000, 'a') + "\n\n";

  EXPECT_EQ(Read(header + "Text\n", header.size()), header);
}

TEST_F(ReadingAHeader, GivesUpAHeaderBeyondTheLimit) {
  const std::string message = "To: " + std::string(100'000, 'a') + "\n\nText\n";

  EXPECT_EQ(Read(message, 100'000), std::nullopt);
  EXPECT_EQ(Place(), message.size());
}

TEST_F(ReadingAHeader, ReportsAMessageThatCannotBeRead) {
  const panel::FileHandle folder(open(folder_.path().c_str(), O_RDONLY | O_CLOEXEC));

  EXPECT_THROW(ReadHeaderText(folder.get(), 1000), std::system_error);
}

}  // namespace
}  // namespace zebmail::answer
