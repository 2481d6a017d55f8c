/// NAME
///   way_local - what local(8) makes of a recipient by the aliases

#include <algorithm>
#include <filesystem>
#include <sstream>

#include "panel/conf/disk_file.h"
#include "panel/mail/mail_rows.h"
#include "panel/mail/names.h"
#include "panel/mail/responder_folder.h"
#include "panel/mail/table_values.h"
#include "panel/text/words.h"
#include "panel/trace/unix_users.h"
#include "panel/trace/way.h"

namespace panel::trace {
namespace {

constexpr std::string_view kInclude = ":include:";

/// The mailbox that the command answers for: the key in the name of its folder, or nothing.
std::optional<std::string> AnsweredMailbox(const std::string& command) {
  const std::vector<std::string> words = SplitWords(command);
  if (words.size() != 2) return std::nullopt;
  const std::filesystem::path folder = words[1];
  const std::string key = folder.filename();
  const bool is_key = !key.empty() && key.find_first_not_of("0123456789") == std::string::npos;
  const auto folders = mail::ResponderFolder(0).parent_path();
  return is_key && folder.parent_path() == folders ? std::optional(key) : std::nullopt;
}

std::string AddressOfMailbox(const std::string& key) {
  const std::vector<std::string> addresses = mail::Column(
      "SELECT email.name || '@' || email_domain.name FROM email JOIN email_domain"
      " ON email_domain.id = email.domain WHERE email.id = " +
      key);
  return addresses.empty() ? "a mailbox that the panel does not have"
                           : mail::InUnicode(addresses.front());
}

}  // namespace

/// The heading of the address is there. The aliases are asked for the local part alone, so that an
/// entry serves every domain of this server.
void Way::DeliverLocally(std::size_t depth, const std::string& text, const Source& source) {
  if (!settings_.local_transport.starts_with("local:") && settings_.local_transport != "local") {
    return Finish(depth, text, "mailbox",
                  "given to " + settings_.local_transport + " (local_transport)");
  }
  const MailAddress address(text, settings_);
  const std::string local = mail::LowerCase(address.local);
  const auto extended = SplitExtension(local, settings_);
  if (DeliverToAlias(depth, text, local, "", source)) return;
  if (extended && DeliverToAlias(depth, text, extended->user, extended->extension, source)) return;
  std::vector<std::string> names = {local};
  if (extended) names.push_back(extended->user);
  TellNone(depth, aliases_, names,
           source.alias == names.back() ? "the user of that name is meant" : "");
  if (source.has_owner || source.is_included) {
    Rewrite(depth, text);
  } else {
    DeliverToMailbox(depth, text, names.back());
  }
}

/// Returns whether that is the end of it. In an entry, its own name means the user of that name.
/// local(8) takes so many entries within each other for a circle, and looks no further.
bool Way::DeliverToAlias(std::size_t depth, const std::string& address, const std::string& name,
                         const std::string& extension, const Source& source) {
  constexpr std::size_t kMostNestings = 25;
  if (source.alias == name) return false;
  const bool is_open =
      open_aliases_.size() >= kMostNestings ||
      std::find(open_aliases_.begin(), open_aliases_.end(), name) != open_aliases_.end();
  if (is_open) {
    Finish(depth, address, "bounced", "bounced: alias database loop for " + name);
    return true;
  }
  const Entry* const entry = aliases_.Find(name);
  if (entry == nullptr) return false;
  const bool is_new = told_aliases_.insert(name).second;
  TellEntry(depth, aliases_, *entry, {name}, is_new ? "" : "as above");
  if (!is_new) return true;
  Source next = source;
  next.alias = name;
  next.has_owner = source.has_owner ||
                   (settings_.extensions.has_owners && aliases_.Find("owner-" + name) != nullptr);
  open_aliases_.push_back(name);
  DeliverToValues(depth, address, entry->value, extension, next);
  open_aliases_.pop_back();
  return true;
}

void Way::DeliverToValues(std::size_t depth, const std::string& address, const std::string& values,
                          const std::string& extension, const Source& source) {
  for (const std::string& value : mail::ParseValues(values)) {
    if (value.starts_with('|')) {
      DeliverToCommand(depth, address, value.substr(1), source);
    } else if (value.starts_with('/')) {
      DeliverToFile(depth, address, value, source);
    } else if (mail::LowerCase(value).starts_with(kInclude)) {
      DeliverToIncluded(depth, address, value.substr(kInclude.size()), extension, source);
    } else {
      DeliverToAddress(depth + 1, value, extension, source);
    }
  }
}

/// local(8) keeps what is local and goes on with it at once, whatever the virtual user table has.
void Way::DeliverToAddress(std::size_t depth, const std::string& value,
                           const std::string& extension, const Source& source) {
  MailAddress address(value, settings_);
  if (settings_.extends_aliases) address.local += extension;
  const std::string text = address.Text();
  events_.emplace_back(Heading{depth, text});
  if (!names_.Find(address.domain)) return Rewrite(depth, text);
  const VirtualLine line = addresses_.LookUp(text);
  const bool is_passed_over = line.entry != nullptr && !source.has_owner && !source.is_included &&
                              (line.targets.size() != 1 || line.targets.front() != text);
  if (is_passed_over) {
    TellEntry(depth, virtual_, *line.entry, line.keys,
              "not asked: what an entry of the aliases names is delivered here at once");
  }
  DeliverLocally(depth, text, source);
}

void Way::DeliverToFile(std::size_t depth, const std::string& address, const std::string& path,
                        const Source& source) {
  if (source.is_included) {
    Finish(depth, address, "bounced",
           "bounced: mail to files is not allowed in a file of addresses");
  } else if (path == "/dev/null") {
    Finish(depth, address, "discarded", "thrown away");
  } else {
    Finish(depth, address, "file", "added to " + path);
  }
}

/// 67 is what a command exits with that knows no such user.
void Way::DeliverToCommand(std::size_t depth, const std::string& address,
                           const std::string& command, const Source& source) {
  const std::string words = JoinWords(SplitWords(command));
  if (source.is_included) {
    Finish(depth, address, "bounced",
           "bounced: mail to commands is not allowed in a file of addresses");
  } else if (words == "exit 67") {
    Finish(depth, address, "bounced", "bounced: unknown user");
  } else if (const auto mailbox = AnsweredMailbox(command)) {
    Finish(depth, address, "command", "answered for " + AddressOfMailbox(*mailbox));
  } else {
    Finish(depth, address, "command", "given to the command " + words);
  }
}

void Way::DeliverToIncluded(std::size_t depth, const std::string& address, const std::string& path,
                            const std::string& extension, const Source& source) {
  if (!std::filesystem::is_regular_file(path)) {
    return Finish(depth, address, "bounced", "bounced: there is no file of addresses " + path);
  }
  Source next = source;
  next.is_included = true;
  std::istringstream lines(conf::ReadWholeFile(path).bytes);
  std::size_t number = 1;
  for (std::string line; std::getline(lines, line); ++number) {
    if (mail::ParseValues(line).empty() || line.starts_with('#')) continue;
    Tell({depth, path, number, "", line, ""});
    DeliverToValues(depth, address, line, extension, next);
  }
}

/// The order is that of local(8).
void Way::DeliverToMailbox(std::size_t depth, const std::string& address, const std::string& user) {
  const std::optional<std::string> home = HomeOf(user);
  const std::filesystem::path forward = std::filesystem::path(home.value_or("/")) / ".forward";
  std::error_code unknown;
  if (home && std::filesystem::is_regular_file(forward, unknown)) {
    Finish(depth, address, "mailbox", "delivered as " + forward.string() + " says");
  } else if (!settings_.mailbox_transport.empty()) {
    Finish(depth, address, "mailbox",
           "given to " + settings_.mailbox_transport + " (mailbox_transport)");
  } else if (home) {
    Finish(depth, address, "mailbox", "delivered to the mailbox of the Unix user " + user);
  } else if (!settings_.fallback_transport.empty()) {
    Finish(depth, address, "mailbox",
           "given to " + settings_.fallback_transport + " (fallback_transport)");
  } else if (!settings_.other_user.empty()) {
    Finish(depth, address, "sent", "sent on to " + settings_.other_user + " (luser_relay)");
  } else {
    Finish(depth, address, "bounced",
           "bounced: no such user, neither in the aliases nor on this system");
  }
}

}  // namespace panel::trace
