/// NAME
///   address - what an address is

#include "zebmail/answer/address.h"

#include <algorithm>

#include "zebmail/answer/ascii.h"

namespace zebmail::answer {
namespace {

constexpr std::size_t kLongestAddress = 254;
constexpr std::string_view kLettersAndDigits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
constexpr std::string_view kSignsOfLocalPart = "#&'*+-/=?^_{}~";
constexpr std::string_view kSignsOfDomain = "-_";

/// Words of letters, digits and the given signs, joined by single dots.
bool IsDotted(std::string_view text, std::string_view signs) {
  if (text.empty() || text.starts_with('.') || text.ends_with('.')) return false;
  if (text.find("..") != std::string_view::npos) return false;
  return std::all_of(text.begin(), text.end(), [signs](char byte) {
    return byte == '.' || kLettersAndDigits.find(byte) != std::string_view::npos ||
           signs.find(byte) != std::string_view::npos;
  });
}

}  // namespace

bool IsPlainAddress(std::string_view text) {
  const std::size_t at = text.rfind('@');
  if (text.size() > kLongestAddress || at == std::string_view::npos) return false;
  return !text.starts_with('-') && IsDotted(text.substr(0, at), kSignsOfLocalPart) &&
         !text.substr(at + 1).starts_with('-') && IsDotted(text.substr(at + 1), kSignsOfDomain);
}

std::string_view LocalPart(std::string_view address) {
  return address.substr(0, address.rfind('@'));
}

std::string WithLowerCaseDomain(std::string_view address) {
  const std::string_view local_part = LocalPart(address);
  return std::string(local_part) + ToLower(address.substr(local_part.size()));
}

}  // namespace zebmail::answer
