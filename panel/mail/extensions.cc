/// NAME
///   extensions - what Postfix takes for an extension in an address

#include "panel/mail/extensions.h"

#include <algorithm>
#include <cctype>

#include "host/fen_err.h"
#include "panel/mail/main_cf.h"
#include "panel/mail/names.h"
#include "panel/module/log.h"

namespace panel::mail {
namespace {

thread_local std::optional<Extensions> of_operation;

/// Names that mean something by themselves and have no extensions.
bool IsWhole(const std::string& local, const Extensions& extensions) {
  const std::string name = LowerCase(local);
  if (name == "postmaster" || name == "mailer-daemon" || name == "double-bounce") return true;
  const bool is_of_list = name.starts_with("owner-") || name.ends_with("-request");
  return is_of_list && extensions.has_owners &&
         extensions.delimiters.find('-') != std::string::npos;
}

/// A change of the panel must not fail because Postfix cannot be asked for this.
Extensions ReadOrAssume() {
  try {
    return ReadExtensions();
  } catch (const fen_err::Error& error) {
    LogError("mail", error);
    return {"+", false};
  }
}

bool IsPlain(const std::string& name) {
  return std::all_of(name.begin(), name.end(),
                     [](unsigned char character) { return std::isalnum(character) != 0; });
}

}  // namespace

std::optional<std::size_t> Extensions::PlaceIn(const std::string& local) const {
  const std::size_t place = local.find_first_of(delimiters);
  if (place == std::string::npos || place == 0 || IsWhole(local, *this)) return std::nullopt;
  return place;
}

std::string Extensions::Strip(const std::string& address) const {
  const std::size_t at = std::min(address.rfind('@'), address.size());
  const auto place = PlaceIn(address.substr(0, at));
  return place ? address.substr(0, *place) + address.substr(at) : address;
}

Extensions ReadExtensions() {
  const std::string delimiter = "recipient_delimiter";
  const std::string owners = "owner_request_special";
  Parameters parameters = ReadParameters({delimiter, owners});
  return {parameters[delimiter].expanded, LowerCase(parameters[owners].expanded) == "yes"};
}

std::string WithoutExtension(const std::string& address) {
  if (IsPlain(address.substr(0, address.rfind('@')))) return address;
  if (!of_operation) of_operation = ReadOrAssume();
  return of_operation->Strip(address);
}

void ForgetExtensions() {
  of_operation.reset();
}

}  // namespace panel::mail
