/// NAME
///   tenant - somebody whose domains are kept by a panel, and who changes them all the time

#include "tests/support/tenant.h"

#include <functional>
#include <map>
#include <stdexcept>

#include "panel/mail/listed_senders.h"

namespace test_support {
namespace {

constexpr std::size_t kDomains = 3;
constexpr std::size_t kMailboxes = 4;
constexpr std::size_t kNames = 3;

std::string Quoted(const std::string& text) {
  return "\"" + text + "\"";
}

std::string List(const std::vector<std::string>& values) {
  std::string text;
  for (const std::string& value : values) text += (text.empty() ? "" : ",") + Quoted(value);
  return "[" + text + "]";
}

std::string Truth(bool value) {
  return value ? "true" : "false";
}

/// The option `name` of a command line.
std::string Option(const std::vector<std::string>& words, const std::string& name) {
  for (std::size_t word = 0; word + 1 < words.size(); ++word) {
    if (words[word] == name) return words[word + 1];
  }
  throw std::invalid_argument(name + " is missing");
}

}  // namespace

Tenant::Tenant(int number, unsigned seed) : at_(".tenant" + std::to_string(number) + ".example") {
  std::seed_seq seeds{seed, static_cast<unsigned>(number)};
  random_.seed(seeds);
}

std::size_t Tenant::Below(std::size_t end) {
  return std::uniform_int_distribution<std::size_t>(0, end - 1)(random_);
}

Tenant::Words Tenant::Next() {
  const std::size_t kind = Below(10);
  if (kind == 0) return ChangeList("whitelist", white_);
  if (kind == 1) return ChangeList("blacklist", black_);
  if (domains_.empty() || (kind == 2 && domains_.size() < kDomains)) return CreateDomain();
  const std::size_t number = Below(domains_.size());
  Domain& domain = domains_[number];
  if (kind <= 4 || !domain.active) return ChangeDomain(number);
  if (domain.mailboxes.empty() || (kind == 5 && domain.mailboxes.size() < kMailboxes)) {
    return CreateMailbox(domain);
  }
  return ChangeMailbox(domain, Below(domain.mailboxes.size()));
}

Tenant::Words Tenant::CreateDomain() {
  domains_.push_back({NewName("domain") + at_, true, "ignore", {}});
  return {"domain", "create", domains_.back().name, "--default-action", "ignore"};
}

Tenant::Words Tenant::ChangeDomain(std::size_t number) {
  Domain& domain = domains_[number];
  const std::string name = domain.name;
  if (Below(6) == 0) {
    domains_.erase(domains_.begin() + static_cast<std::ptrdiff_t>(number));
    return {"domain", "delete", name};
  }
  if (domain.active && Below(2) == 0) {
    domain.default_action = domain.default_action == "error" ? "ignore" : "error";
    return {"domain", "update", name, "--default-action", domain.default_action};
  }
  domain.active = !domain.active;
  return {"domain", domain.active ? "resume" : "suspend", name};
}

Tenant::Words Tenant::CreateMailbox(Domain& domain) {
  domain.mailboxes.push_back({NewName("box") + "@" + domain.name, true, false, {}, {}});
  return {"mailbox", "create", domain.mailboxes.back().address};
}

Tenant::Words Tenant::ChangeMailbox(Domain& domain, std::size_t number) {
  Mailbox& mailbox = domain.mailboxes[number];
  const std::string address = mailbox.address;
  if (!mailbox.active) {
    mailbox.active = true;
    return {"mailbox", "resume", address};
  }
  switch (Below(8)) {
    case 0:
      domain.mailboxes.erase(domain.mailboxes.begin() + static_cast<std::ptrdiff_t>(number));
      return {"mailbox", "delete", address};
    case 1:
      mailbox.active = false;
      return {"mailbox", "suspend", address};
    case 2:
      mailbox.drops_mail = !mailbox.drops_mail;
      return {"mailbox", "update", address, "--drop-mail", mailbox.drops_mail ? "on" : "off"};
    case 3:
    case 4:
    case 5:
      return ChangeNames("alias", address, mailbox.aliases, NewName("alias"));
    default:
      return ChangeNames("forward", address, mailbox.forwards, NewName("to") + "@example.net");
  }
}

/// Adds `name` to the names, or removes one of them.
Tenant::Words Tenant::ChangeNames(const std::string& kind, const std::string& mailbox,
                                  std::vector<std::string>& names, const std::string& name) {
  if (names.empty() || (names.size() < kNames && Below(2) == 0)) {
    names.push_back(name);
    return {kind, "add", mailbox, name};
  }
  const auto old = names.begin() + static_cast<std::ptrdiff_t>(Below(names.size()));
  const std::string removed = *old;
  names.erase(old);
  return {kind, "remove", mailbox, removed};
}

Tenant::Words Tenant::ChangeList(const std::string& kind, std::vector<std::string>& values) {
  Words words = ChangeNames(kind, "", values, NewName(kind) + at_);
  words.erase(words.begin() + 2);  // no mailbox
  return words;
}

std::vector<std::string> Tenant::Lines() const {
  std::vector<std::string> lines;
  for (const Domain& domain : domains_) {
    lines.push_back(R"({"type":"domain","name":)" + Quoted(domain.name) + ",\"active\":" +
                    Truth(domain.active) + ",\"defaction\":" + Quoted(domain.default_action) +
                    R"(,"redirect":"","ip":"","owner":0})");
    for (const Mailbox& mailbox : domain.mailboxes) {
      lines.push_back(R"({"type":"mailbox","address":)" + Quoted(mailbox.address) + ",\"active\":" +
                      Truth(mailbox.active) + ",\"dropmail\":" + Truth(mailbox.drops_mail) +
                      ",\"aliases\":" + List(mailbox.aliases) +
                      ",\"forwards\":" + List(mailbox.forwards) + R"(,"responder":false})");
    }
  }
  for (const auto& [kind, values] :
       {std::pair("whitelist", &white_), std::pair("blacklist", &black_)}) {
    for (const std::string& value : *values) {
      lines.push_back("{\"type\":" + Quoted(kind) + ",\"value\":" + Quoted(value) + "}");
    }
  }
  return lines;
}

std::vector<std::pair<std::string, bool>> Tenant::Mailboxes() const {
  std::vector<std::pair<std::string, bool>> mailboxes;
  for (const Domain& domain : domains_) {
    for (const Mailbox& mailbox : domain.mailboxes) {
      mailboxes.emplace_back(mailbox.address, mailbox.active);
    }
  }
  return mailboxes;
}

void Perform(panel::mail::MailModule& mail, const std::vector<std::string>& words) {
  using panel::mail::SenderList;
  using Words = std::vector<std::string>;
  static const std::map<std::string, std::function<void(panel::mail::MailModule&, const Words&)>>
      kWays = {
          {"domain create",
           [](auto& to, const Words& all) {
             to.CreateDomain(all[2], {.default_action = Option(all, "--default-action")});
           }},
          {"domain update",
           [](auto& to, const Words& all) {
             to.UpdateDomain(all[2], {.default_action = Option(all, "--default-action")});
           }},
          {"domain suspend", [](auto& to, const Words& all) { to.SuspendDomain(all[2]); }},
          {"domain resume", [](auto& to, const Words& all) { to.ResumeDomain(all[2]); }},
          {"domain delete", [](auto& to, const Words& all) { to.DeleteDomain(all[2]); }},
          {"mailbox create", [](auto& to, const Words& all) { to.CreateMailbox(all[2], false); }},
          {"mailbox update",
           [](auto& to, const Words& all) {
             to.UpdateMailbox(all[2], Option(all, "--drop-mail") == "on");
           }},
          {"mailbox suspend", [](auto& to, const Words& all) { to.SuspendMailbox(all[2]); }},
          {"mailbox resume", [](auto& to, const Words& all) { to.ResumeMailbox(all[2]); }},
          {"mailbox delete", [](auto& to, const Words& all) { to.DeleteMailbox(all[2]); }},
          {"alias add", [](auto& to, const Words& all) { to.AddAliases(all[2], {all[3]}); }},
          {"alias remove", [](auto& to, const Words& all) { to.RemoveAliases(all[2], {all[3]}); }},
          {"forward add", [](auto& to, const Words& all) { to.AddForwards(all[2], {all[3]}); }},
          {"forward remove",
           [](auto& to, const Words& all) { to.RemoveForwards(all[2], {all[3]}); }},
          {"whitelist add",
           [](auto&, const Words& all) { panel::mail::AddToList(SenderList::kWhite, {all[2]}); }},
          {"whitelist remove",
           [](auto&, const Words& all) {
             panel::mail::RemoveFromList(SenderList::kWhite, {all[2]});
           }},
          {"blacklist add",
           [](auto&, const Words& all) { panel::mail::AddToList(SenderList::kBlack, {all[2]}); }},
          {"blacklist remove",
           [](auto&, const Words& all) {
             panel::mail::RemoveFromList(SenderList::kBlack, {all[2]});
           }},
      };
  kWays.at(words[0] + " " + words[1])(mail, words);
}

}  // namespace test_support
