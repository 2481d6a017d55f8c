/// NAME
///   away_message - the message that answers for a mailbox

#include "panel/mail/away_message.h"

#include <algorithm>
#include <memory>
#include <string_view>

#include <gmime/gmime.h>

#include "host/fen_err.h"

namespace panel::mail {
namespace {

/// As long as a line of a message may be (RFC 5322, 2.1.1), with room for its encoding.
constexpr std::size_t kLongestSubject = 400;
constexpr std::size_t kLongestText = 65536;

struct Unref {
  template <class T>
  void operator()(T* object) const {
    g_object_unref(object);
  }
};

template <class T>
using Owned = std::unique_ptr<T, Unref>;

[[noreturn]] void Refuse(const std::string& what, const std::string& why) {
  throw fen_err::Error("value", what, why);
}

/// All control characters but those in `allowed`.
bool HasControlCharacters(const std::string& text, std::string_view allowed) {
  return std::any_of(text.begin(), text.end(), [allowed](char byte) {
    const auto value = static_cast<unsigned char>(byte);
    return (value < 0x20 || value == 0x7f) && allowed.find(byte) == std::string_view::npos;
  });
}

void CheckUtf8(const std::string& what, const std::string& text) {
  if (g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr) == 0) {
    Refuse(what, "is not UTF-8");
  }
}

void CheckLength(const std::string& what, const std::string& text, std::size_t longest) {
  if (text.size() <= longest) return;
  Refuse(what, "is longer than " + std::to_string(longest) + " bytes");
}

void InitialiseOnce() {
  static const bool done = [] {
    g_mime_init();
    return true;
  }();
  static_cast<void>(done);
}

/// The text with CR LF for each line end, however it was written. The encoding hides line ends from
/// all programs on the way, so they must be those of a message before (RFC 2045, 6.8).
std::string WithCanonicalLineEnds(const std::string& text) {
  std::string lines;
  char last = '\0';
  for (const char byte : text) {
    const bool is_second_half = byte == '\n' && last == '\r';
    last = byte;
    if (is_second_half) continue;
    if (byte == '\r' || byte == '\n') {
      lines += "\r\n";
    } else {
      lines += byte;
    }
  }
  return lines;
}

/// Encoded whatever it is: as it stands, a line that is a single dot would end the message, and
/// parts of it might mean something to the program that sends it.
Owned<GMimeTextPart> Body(const std::string& text) {
  Owned<GMimeTextPart> part(g_mime_text_part_new_with_subtype("plain"));
  g_mime_text_part_set_text(part.get(), WithCanonicalLineEnds(text).c_str());
  g_mime_part_set_content_encoding(GMIME_PART(part.get()), GMIME_CONTENT_ENCODING_BASE64);
  return part;
}

std::string ToString(GMimeMessage* message) {
  const std::unique_ptr<char, decltype(&g_free)> text(
      g_mime_object_to_string(GMIME_OBJECT(message), nullptr), &g_free);
  return text.get();
}

}  // namespace

void CheckSubject(const std::string& subject) {
  CheckLength("subject", subject, kLongestSubject);
  CheckUtf8("subject", subject);
  if (HasControlCharacters(subject, "")) Refuse("subject", "holds control characters");
}

void CheckText(const std::string& text) {
  CheckLength("text", text, kLongestText);
  CheckUtf8("text", text);
  if (HasControlCharacters(text, "\t\r\n")) Refuse("text", "holds control characters");
}

std::string AwayMessage(const std::string& address, const std::string& subject,
                        const std::string& text) {
  InitialiseOnce();
  const Owned<GMimeMessage> message(g_mime_message_new(TRUE));
  g_mime_message_add_mailbox(message.get(), GMIME_ADDRESS_TYPE_FROM, nullptr, address.c_str());
  g_mime_message_set_subject(message.get(), subject.c_str(), "utf-8");
  g_mime_object_set_header(GMIME_OBJECT(message.get()), "Auto-Submitted", "auto-replied", nullptr);
  g_mime_message_set_mime_part(message.get(), GMIME_OBJECT(Body(text).get()));
  return ToString(message.get());
}

}  // namespace panel::mail
