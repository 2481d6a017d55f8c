/// NAME
///   validators - what the panel takes for an address, a domain or an IP address
///
/// PURPOSE
///   The values end up in tables that a root mail server executes, so a validator says which
///   characters there may be, never which may not. A text that is refused is left as it is.
///
/// DOMAIN NAMES
///   A name in ASCII is taken as it is spelled, in lower case. A label in Unicode must be one of
///   IDNA 2008 as typed: nothing is mapped or dropped, because full-width letters, capitals of
///   other scripts and invisible characters would turn into a name that the user did not type.

#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <string_view>

#include <arpa/inet.h>
#include <idn2.h>
#include <netinet/in.h>

#include "host/test.h"

namespace test {
namespace {

constexpr std::size_t kLongestAddress = 254;
constexpr std::size_t kLongestLocalPart = 64;
constexpr std::size_t kLongestDomain = 253;
constexpr std::size_t kLongestLabel = 63;

bool IsDigit(char character) {
  return character >= '0' && character <= '9';
}

bool IsLower(char character) {
  return character >= 'a' && character <= 'z';
}

bool IsUpper(char character) {
  return character >= 'A' && character <= 'Z';
}

char ToLower(char character) {
  return IsUpper(character) ? static_cast<char>(character - 'A' + 'a') : character;
}

bool IsAscii(char character) {
  return static_cast<unsigned char>(character) < 0x80;
}

template <class Check>
bool All(std::string_view text, Check check) {
  return std::all_of(text.begin(), text.end(), check);
}

/// Whether `check` takes each of the parts between dots.
template <class Check>
bool AllParts(std::string_view text, Check check) {
  for (;;) {
    const std::size_t dot = text.find('.');
    if (!check(text.substr(0, dot))) return false;
    if (dot == std::string_view::npos) return true;
    text.remove_prefix(dot + 1);
  }
}

bool HasInnerHyphensOnly(std::string_view label) {
  return !label.starts_with('-') && !label.ends_with('-');
}

bool IsLabel(std::string_view label) {
  const auto is_inner = [](char character) {
    return IsLower(character) || IsDigit(character) || character == '-';
  };
  return !label.empty() && label.size() <= kLongestLabel && HasInnerHyphensOnly(label) &&
         All(label, is_inner);
}

/// The ASCII form of a name with labels in Unicode, if it has one.
std::optional<std::string> ToAscii(const std::string& name) {
  char* ascii = nullptr;
  const int result = idn2_to_ascii_8z(name.c_str(), &ascii, IDN2_NFC_INPUT | IDN2_NO_TR46);
  const std::unique_ptr<char, void (*)(void*)> owner(ascii, idn2_free);
  if (result != IDN2_OK) return std::nullopt;
  return ascii;
}

/// The name's normal form, if it is the name of a domain.
std::optional<std::string> NormalDomain(std::string name) {
  std::transform(name.begin(), name.end(), name.begin(), ToLower);
  const auto may_be_typed = [](char character) {
    return !IsAscii(character) || IsLower(character) || IsDigit(character) || character == '-' ||
           character == '.';
  };
  if (!All(name, may_be_typed) || !AllParts(name, HasInnerHyphensOnly)) return std::nullopt;
  if (!All(name, IsAscii)) {
    std::optional<std::string> ascii = ToAscii(name);
    if (!ascii) return std::nullopt;
    name = std::move(*ascii);
  }

  const std::size_t last_dot = name.rfind('.');
  if (last_dot == std::string::npos || name.size() > kLongestDomain) return std::nullopt;
  if (!AllParts(name, IsLabel) || All(std::string_view(name).substr(last_dot + 1), IsDigit)) {
    return std::nullopt;
  }
  return name;
}

bool IsLocalPart(std::string_view local) {
  const auto is_atom = [](std::string_view part) {
    static constexpr std::string_view kSigns = "$&'*+-/=?^_`{|}~";
    return !part.empty() && All(part, [](char character) {
      return IsLower(character) || IsUpper(character) || IsDigit(character) ||
             kSigns.find(character) != std::string_view::npos;
    });
  };
  static constexpr std::string_view kNotFirst = "|/~-";
  return !local.empty() && local.size() <= kLongestLocalPart &&
         kNotFirst.find(local.front()) == std::string_view::npos && AllParts(local, is_atom);
}

/// `address` in the form in which the system writes it, if it is one of the family `Binary`.
template <int family, class Binary>
std::optional<std::string> NormalIp(const std::string& address) {
  Binary binary{};
  std::array<char, INET6_ADDRSTRLEN> normal{};
  if (address.find('\0') != std::string::npos) return std::nullopt;
  if (inet_pton(family, address.c_str(), &binary) != 1) return std::nullopt;
  return inet_ntop(family, &binary, normal.data(), normal.size());
}

}  // namespace

bool Email(std::string& address) {
  const std::size_t at = address.rfind('@');
  if (at == std::string::npos) return false;
  const std::string local = address.substr(0, at);
  const std::optional<std::string> domain = NormalDomain(address.substr(at + 1));
  if (!IsLocalPart(local) || !domain) return false;
  if (local.size() + 1 + domain->size() > kLongestAddress) return false;
  address = local + "@" + *domain;
  return true;
}

bool Domain(std::string& name) {
  std::optional<std::string> normal = NormalDomain(name);
  if (!normal) return false;
  name = std::move(*normal);
  return true;
}

bool Ip(std::string& address) {
  const std::optional<std::string> normal = NormalIp<AF_INET, in_addr>(address);
  return normal == address;
}

bool Ip6(std::string& address) {
  std::optional<std::string> normal = NormalIp<AF_INET6, in6_addr>(address);
  if (!normal) return false;
  address = std::move(*normal);
  return true;
}

}  // namespace test
