/// NAME
///   envelope - from whom a message came and to whom it was sent

#include "zebmail/answer/envelope.h"

#include <cstdlib>
#include <string_view>

namespace zebmail::answer {
namespace {

/// In the environment "_" stands for itself and for every character that a shell may take for its
/// own, so that o'brien would become o_brien, who is somebody else. The whole address is in the
/// field that Postfix puts above those of the sender.
std::string Address(const char* variable, const MessageHeader& header, std::string_view field) {
  const char* const value = std::getenv(variable);
  std::string address = value == nullptr ? "" : value;
  if (address.find('_') == std::string::npos) return address;
  const std::vector<std::string_view> values = header.Values(field);
  if (values.empty()) return address;
  std::string_view whole = values.front();
  if (whole.starts_with('<') && whole.ends_with('>')) whole = whole.substr(1, whole.size() - 2);
  return std::string(whole);
}

}  // namespace

Envelope ReadEnvelope(const MessageHeader& header) {
  return {Address("SENDER", header, "return-path"),
          Address("ORIGINAL_RECIPIENT", header, "x-original-to")};
}

}  // namespace zebmail::answer
