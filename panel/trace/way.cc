/// NAME
///   way - the parts of the way that a message takes, in their order

#include "panel/trace/way.h"

#include <algorithm>

#include "host/fen_cf.h"
#include "panel/mail/names.h"
#include "panel/mail/value_list.h"
#include "panel/text/words.h"
#include "panel/trace/map_answers.h"
#include "panel/trace/unix_users.h"

namespace panel::trace {
namespace {

/// The map that Postfix is told to read, or the one that is built when it is told of none.
std::string MapOf(const Settings& settings, const std::string& maps, const std::string& path) {
  const std::string map = MapIn(maps, path);
  return map.empty() ? settings.map_type + ":" + path : map;
}

}  // namespace

Way::Way()
    : settings_(ReadSettings()),
      names_(settings_, fen_cf::GetPath("postfix-localhostnames")),
      access_(
          fen_cf::GetPath("postfix-accessdb"), Format::kPostmap,
          MapOf(settings_, settings_.recipient_restrictions, fen_cf::GetPath("postfix-accessdb"))),
      virtual_(fen_cf::GetPath("postfix-virtusertable"), Format::kPostmap,
               MapOf(settings_, settings_.virtual_maps, fen_cf::GetPath("postfix-virtusertable"))),
      aliases_(fen_cf::GetPath("postfix-aliases"), Format::kPostalias,
               MapOf(settings_, settings_.alias_maps, fen_cf::GetPath("postfix-aliases"))),
      addresses_(virtual_, names_, settings_) {}

void Way::Receive(const std::string& text) {
  const MailAddress address(text, settings_);
  events_.emplace_back(Heading{0, address.Text()});
  TellDomain(address);
  if (Pass(address) && IsListed(address)) Rewrite(0, address.Text());
}

std::size_t Way::Tell(const Step& step) {
  events_.emplace_back(step);
  return events_.size() - 1;
}

void Way::Finish(std::size_t depth, const std::string& address, const std::string& how,
                 const std::string& what) {
  events_.emplace_back(End{depth, address, how, what});
}

void Way::TellEntry(std::size_t depth, TracedTable& table, const Entry& entry,
                    const std::vector<std::string>& keys, const std::string& what) {
  table.Tell(keys, Tell({depth, table.path(), entry.line, entry.key, entry.value, what}));
}

void Way::TellNone(std::size_t depth, TracedTable& table, const std::vector<std::string>& keys,
                   const std::string& what) {
  table.Tell(keys, Tell({depth, table.path(), 0, JoinWords(keys), "", what}));
}

void Way::TellDomain(const MailAddress& address) {
  const auto place = names_.Find(address.domain);
  if (place) {
    Tell({0, place->file, place->line, place->name, "", "a domain of this server"});
  } else {
    Tell({0, fen_cf::GetPath("postfix-localhostnames"), 0, address.domain, "",
          "a domain of another server: taken from this server's own users only"});
  }
}

/// With the virtual user table, an address that has no line there must be that of a local user.
bool Way::IsListed(const MailAddress& address) {
  const VirtualLine line = addresses_.LookUp(address.Text());
  if (line.entry != nullptr || !names_.Find(address.domain)) return true;
  if (IsLocalRecipient(address)) return true;
  TellNone(0, virtual_, line.keys, "");
  Finish(0, address.Text(), "refused",
         "refused: 550 5.1.1 User unknown in local recipient table: neither an entry of "
         "the aliases nor a Unix user");
  return false;
}

/// Whether local_recipient_maps, which smtpd(8) asks for unknown users, lets the address pass.
bool Way::IsLocalRecipient(const MailAddress& address) {
  std::vector<std::string> names = {mail::LowerCase(address.local)};
  const auto extended = SplitExtension(names.front(), settings_);
  if (extended) names.push_back(extended->user);
  const std::vector<std::string> maps = mail::SplitList(settings_.local_recipients);
  return maps.empty() || std::any_of(maps.begin(), maps.end(), [&](const std::string& map) {
           if (map.ends_with("unix:passwd.byname")) {
             return std::any_of(names.begin(), names.end(), &IsUser);
           }
           if (!MapIn(map, aliases_.path()).empty()) return aliases_.FindFirst(names) != nullptr;
           return !AskMap(map, names).values.empty();
         });
}

/// Follows the message from cleanup(8) on. The heading of the address is there.
void Way::Rewrite(std::size_t depth, const std::string& address) {
  const Expansion expansion = addresses_.Expand(address);
  std::set<std::string> told;
  TellNode(depth, expansion, 0, told);
  if (!expansion.failure.empty()) Finish(depth, address, "refused", expansion.failure);
}

/// An address that comes again is not told again. Where Postfix gives up, nothing is delivered.
void Way::TellNode(std::size_t depth, const Expansion& expansion, std::size_t index,
                   std::set<std::string>& told) {
  const VirtualNode& node = expansion.nodes[index];
  const VirtualLine line = addresses_.LookUp(node.address);
  if (node.targets.empty()) {
    if (line.entry == nullptr) TellNone(depth, virtual_, line.keys, "");
    if (expansion.failure.empty()) Route(depth, node.address);
    return;
  }
  const bool is_new = told.insert(mail::LowerCase(node.address)).second;
  TellEntry(depth, virtual_, *line.entry, line.keys, is_new ? "" : "as above");
  if (!is_new) return;
  for (const std::size_t target : node.targets) {
    events_.emplace_back(Heading{depth + 1, expansion.nodes[target].address});
    TellNode(depth + 1, expansion, target, told);
  }
}

/// Gives a recipient to local(8) or sends it on. A virtual address takes no more than a thousand
/// lines; a way of many such legs, one message after the other, is not followed for ever.
void Way::Route(std::size_t depth, const std::string& text) {
  constexpr std::size_t kDeepest = 1500;
  if (depth > kDeepest) {
    Tell({depth, "", 0, "", "", "too long a way to be followed further"});
    return;
  }
  const MailAddress address(text, settings_);
  const std::string recipient = mail::LowerCase(address.Text());
  if (std::find(deliveries_.begin(), deliveries_.end(), recipient) != deliveries_.end()) {
    return Finish(depth, text, "bounced",
                  "bounced: mail forwarding loop, it has been delivered to before");
  }
  if (!routed_.insert(recipient).second) {
    Tell({depth, "", 0, "", "", "as above: each recipient gets one copy"});
    return;
  }
  if (names_.Find(address.domain)) {
    deliveries_.push_back(recipient);
    DeliverLocally(depth, address.Text(), {});
    deliveries_.pop_back();
  } else if (!MapIn(settings_.virtual_domains, virtual_.path()).empty() &&
             virtual_.Find(address.domain) != nullptr) {
    TellEntry(depth, virtual_, *virtual_.Find(address.domain), {address.domain},
              "makes it a domain of virtual addresses alone");
    Finish(depth, text, "bounced", "bounced: unknown user");
  } else {
    Finish(depth, text, "sent", "sent on to " + text);
  }
}

std::vector<Difference> Way::Compare() const {
  std::vector<Difference> differences;
  if (!names_.HasTable()) {
    differences.push_back({1, fen_cf::GetPath("postfix-localhostnames"), 0, "mydestination",
                           "names this file", JoinWords(settings_.destinations)});
  }
  const auto require = [&differences](const TracedTable& table, const std::string& parameter,
                                      const std::string& maps) {
    if (!MapIn(maps, table.path()).empty()) return;
    differences.push_back({1, table.path(), 0, parameter, "names this table", maps});
  };
  require(virtual_, "virtual_alias_maps", settings_.virtual_maps);
  require(aliases_, "alias_maps", settings_.alias_maps);
  for (const TracedTable* table : {&access_, &virtual_, &aliases_}) {
    const std::vector<Difference> found = table->Compare();
    differences.insert(differences.end(), found.begin(), found.end());
  }
  std::stable_sort(differences.begin(), differences.end(),
                   [](const auto& one, const auto& other) { return one.event < other.event; });
  return differences;
}

std::vector<std::string> Way::Notes() const {
  std::vector<std::string> notes;
  for (const TracedTable* table : {&access_, &virtual_, &aliases_}) {
    const std::vector<std::string> found = table->Duplicates();
    notes.insert(notes.end(), found.begin(), found.end());
  }
  return notes;
}

}  // namespace panel::trace
