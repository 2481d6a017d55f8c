/// NAME
///   way_access - what smtpd(8) makes of a recipient by the access table

#include <algorithm>

#include "panel/mail/names.h"
#include "panel/trace/way.h"

namespace panel::trace {
namespace {

bool IsDigit(char character) {
  return character >= '0' && character <= '9';
}

/// Whether the value is a reply of SMTP that refuses: "4NN text" or "5NN text".
bool IsRefusal(const std::string& value) {
  return value.size() >= 3 && (value[0] == '4' || value[0] == '5') && IsDigit(value[1]) &&
         IsDigit(value[2]) && (value.size() == 3 || !IsDigit(value[3]));
}

std::string FirstWord(const std::string& value) {
  return mail::LowerCase(value.substr(0, value.find_first_of(" \t")));
}

std::string Rest(const std::string& value) {
  const std::size_t end = std::min(value.find_first_of(" \t"), value.size());
  return value.substr(std::min(value.find_first_not_of(" \t", end), value.size()));
}

}  // namespace

/// The order is that of access(5).
std::vector<std::string> Way::AccessKeys(const MailAddress& address) const {
  const auto extended = SplitExtension(address.local, settings_);
  std::vector<std::string> keys = {address.Text()};
  if (extended) keys.push_back(extended->user + "@" + address.domain);
  keys.push_back(address.domain);
  for (std::size_t dot = address.domain.find('.'); dot != std::string::npos;
       dot = address.domain.find('.', dot + 1)) {
    keys.push_back(address.domain.substr(settings_.parents_match ? dot + 1 : dot));
  }
  keys.push_back(address.local + "@");
  if (extended) keys.push_back(extended->user + "@");
  return keys;
}

/// Whether the message goes on from here.
bool Way::Pass(const MailAddress& address) {
  const std::vector<std::string> keys = AccessKeys(address);
  const Entry* const entry = access_.FindFirst(keys);
  if (entry != nullptr) return PassVerdict(address, *entry, keys);
  TellNone(0, access_, keys, "not refused");
  return true;
}

bool Way::PassVerdict(const MailAddress& address, const Entry& entry,
                      const std::vector<std::string>& keys) {
  const std::string action = FirstWord(entry.value);
  const auto tell = [&](const std::string& what) { TellEntry(0, access_, entry, keys, what); };
  if (IsRefusal(entry.value) || action == "reject" || action.starts_with("defer")) {
    tell("refused");
    is_refused_ = true;
    Finish(0, address.Text(), "refused", "refused: " + entry.value);
    return false;
  }
  if (action == "discard") {
    tell("taken and thrown away");
    Finish(0, address.Text(), "discarded", "thrown away");
    return false;
  }
  if (action == "redirect") {
    tell("the whole message goes there instead");
    events_.emplace_back(Heading{1, Rest(entry.value)});
    Route(1, Rest(entry.value));
    return false;
  }
  const bool is_plain = action == "ok" || action == "dunno" ||
                        std::all_of(entry.value.begin(), entry.value.end(), &IsDigit);
  tell(is_plain ? "not refused" : "taken, after Postfix has done this");
  return true;
}

}  // namespace panel::trace
