/// NAME
///   validators - any text as an address, a domain or an IP address
///
/// WHAT MUST HOLD
///   What is taken is ASCII without anything that a table, a shell or a program would read as more
///   than a part of a name, and is taken again as it is. What is refused stays as it was.

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz/support/require.h"
#include "host/fen_err.h"
#include "host/test.h"
#include "panel/mail/names.h"

namespace {

using fuzz::Require;
using Validator = bool (*)(std::string&);

constexpr std::string_view kInDomain = "abcdefghijklmnopqrstuvwxyz0123456789.-";
constexpr std::string_view kInIp = "0123456789abcdef.:";
constexpr std::string_view kInEmail =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.-@$&'*+/=?^_`{|}~";

void Check(Validator is_valid, std::string_view characters, std::size_t longest,
           const std::string& text) {
  std::string value = text;
  if (!is_valid(value)) {
    return Require(value == text, "what is refused stays as it was", {{"text", text}});
  }
  const fuzz::Evidence evidence = {{"text", text}, {"value", value}};
  Require(value.find_first_not_of(characters) == std::string::npos,
          "what is taken has no other characters", evidence);
  Require(!value.empty() && value.size() <= longest, "what is taken is not too long", evidence);
  static const std::string_view kNotFirst = "-|/~.";
  Require(kNotFirst.find(value.front()) == std::string_view::npos,
          "what is taken is no option, command or file", evidence);
  std::string again = value;
  Require(is_valid(again) && again == value, "what was taken is taken as it is", evidence);
}

/// The address of a mailbox gives its entry in the aliases its name.
void CheckMailbox(const std::string& text) {
  try {
    const panel::mail::MailboxName name = panel::mail::CheckedMailbox(text);
    const std::string address = name.Address();
    Require(address == panel::mail::LowerCase(address) &&
                std::count(address.begin(), address.end(), '@') == 1,
            "a mailbox has one name", {{"text", text}, {"address", address}});
    Require(!panel::mail::InUnicode(address).empty(), "an address can be shown",
            {{"address", address}});
  } catch (const fen_err::Error& error) {
    Require(error.type() == "value", "a name is refused for what it is", {{"text", text}});
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  Check(&test::Domain, kInDomain, 253, text);
  Check(&test::Email, kInEmail, 254, text);
  Check(&test::Ip, kInIp, 15, text);
  std::string ip6 = text;
  if (test::Ip6(ip6)) {
    Require(ip6.find_first_not_of(kInIp) == std::string::npos && test::Const<test::Ip6>(ip6),
            "an IPv6 address has no other characters", {{"text", text}});
  }
  CheckMailbox(text);
  return 0;
}
