/// NAME
///   message_header - any text as a message that came for a mailbox with a responder
///
/// PURPOSE
///   Strangers write such messages, and the program that reads them runs beside the mail server.
///   The input is the message, then an envelope, each up to a backslash before another character.
///
/// WHAT MUST HOLD
///   Fields have names in lower case without blanks; a header that is read from a file is the same;
///   whoever is answered has a plain address, which is no option to a program and no word that a
///   shell would interpret, and wrote to the mailbox itself.

#include "zebmail/answer/message_header.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>

#include <fuzzer/FuzzedDataProvider.h>

#include "fuzz/support/memory_file.h"
#include "fuzz/support/require.h"
#include "zebmail/answer/address.h"
#include "zebmail/answer/address_list.h"
#include "zebmail/answer/ascii.h"
#include "zebmail/answer/envelope.h"
#include "zebmail/answer/verdict.h"

namespace {

using fuzz::Require;
using zebmail::answer::HeaderField;
using zebmail::answer::MessageHeader;

constexpr std::size_t kLongestHeader = 4096;

void CheckFields(const MessageHeader& header) {
  for (const HeaderField& field : header.fields()) {
    Require(!field.name.empty() && field.name == zebmail::answer::ToLower(field.name) &&
                field.name.find_first_of(" \t\r\n:") == std::string::npos,
            "the name of a field is one word in lower case", {{"name", field.name}});
    Require(field.value == zebmail::answer::Trim(field.value) &&
                field.value.find('\n') == std::string::npos,
            "the value of a field is one line", {{"value", field.value}});
    for (const std::string& address : zebmail::answer::ReadAddresses(field.value)) {
      Require(!address.empty(), "no address is empty", {{"value", field.value}});
    }
  }
}

bool IsSame(const MessageHeader& one, const MessageHeader& other) {
  return std::equal(one.fields().begin(), one.fields().end(), other.fields().begin(),
                    other.fields().end(), [](const HeaderField& left, const HeaderField& right) {
                      return left.name == right.name && left.value == right.value;
                    });
}

void CheckAnswered(const zebmail::answer::Envelope& envelope, const MessageHeader& header) {
  const std::string& sender = envelope.sender;
  Require(sender.find_first_of("\"'`$|;&<>()[]\\!%, \t\r\n") == std::string::npos ||
              sender.find_first_of("'&") != std::string::npos,
          "no answer goes to what a program may interpret", {{"sender", sender}});
  Require(!sender.starts_with('-') && sender.find('@') != std::string::npos,
          "an answer goes to an address", {{"sender", sender}});
  bool is_named = false;
  for (const HeaderField& field : header.fields()) {
    for (const std::string& address : zebmail::answer::ReadAddresses(field.value)) {
      is_named = is_named || zebmail::answer::IsSame(address, envelope.recipient);
    }
  }
  Require(is_named, "an answer is for a message to the mailbox", {{"to", envelope.recipient}});
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const fuzz::MemoryFile file;
  FuzzedDataProvider input(data, size);
  const std::string text = input.ConsumeRandomLengthString(kLongestHeader);
  const MessageHeader header(text);
  CheckFields(header);

  file.Write(text);
  const std::optional<std::string> read =
      zebmail::answer::ReadHeaderText(file.handle(), kLongestHeader);
  Require(read && text.starts_with(*read) && IsSame(MessageHeader(*read), header),
          "a header that is read is the same", {{"text", text}});

  zebmail::answer::Envelope envelope;
  envelope.sender = input.ConsumeRandomLengthString(300);
  envelope.recipient = input.ConsumeRandomLengthString(300);
  if (zebmail::answer::FindObjection(envelope, header).empty()) CheckAnswered(envelope, header);
  return 0;
}
