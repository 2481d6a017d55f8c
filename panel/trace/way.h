/// NAME
///   way - the parts of the way that a message takes, in their order
///
/// PURPOSE
///   Each of Postfix's programs that decides about a recipient has a method here: smtpd(8) asks the
///   access table, cleanup(8) the virtual user table, trivial-rewrite(8) whether a domain is local,
///   and local(8) the aliases. What each does is added to the trace.
///
/// HOW THE PARTS FOLLOW EACH OTHER
///   An address that local(8) finds in the aliases does not go through the virtual user table again
///   when it is local itself: local(8) goes on with its local part at once. Others, and all of an
///   alias that has an owner, begin anew as a message of their own.

#pragma once

#include <cstddef>
#include <set>
#include <string>
#include <vector>

#include "panel/trace/local_names.h"
#include "panel/trace/mail_address.h"
#include "panel/trace/settings.h"
#include "panel/trace/trace.h"
#include "panel/trace/traced_table.h"
#include "panel/trace/virtual_addresses.h"

namespace panel::trace {

class Way {
 public:
  /// Reads main.cf and finds the tables.
  Way();

  Way(const Way&) = delete;
  Way& operator=(const Way&) = delete;

  /// Follows a message from outside to the address `text`.
  void Receive(const std::string& text);

  const Settings& settings() const noexcept { return settings_; }
  const std::vector<Event>& events() const noexcept { return events_; }

  /// Whether the domain is one of this server.
  bool IsLocal(const std::string& domain) { return names_.Find(domain).has_value(); }

  /// Whether the virtual user table has a line for the very address.
  bool HasLine(const std::string& address) { return virtual_.Find(address) != nullptr; }

  /// Whether the access table refused the message.
  bool IsRefused() const noexcept { return is_refused_; }

  /// What Postfix's maps answer otherwise, in the order of the events.
  std::vector<Difference> Compare() const;

  /// What should be known of the tables that were asked.
  std::vector<std::string> Notes() const;

 private:
  /// How local(8) came to an address.
  struct Source {
    std::string alias{};       ///< the entry that names it; empty for a recipient
    bool has_owner = false;    ///< an entry on the way has an owner
    bool is_included = false;  ///< a file of addresses names it
  };

  std::size_t Tell(const Step& step);
  void Finish(std::size_t depth, const std::string& address, const std::string& how,
              const std::string& what);
  void TellEntry(std::size_t depth, TracedTable& table, const Entry& entry,
                 const std::vector<std::string>& keys, const std::string& what);
  void TellNone(std::size_t depth, TracedTable& table, const std::vector<std::string>& keys,
                const std::string& what);

  void TellDomain(const MailAddress& address);
  bool Pass(const MailAddress& address);
  bool PassVerdict(const MailAddress& address, const Entry& entry,
                   const std::vector<std::string>& keys);
  std::vector<std::string> AccessKeys(const MailAddress& address) const;
  bool IsListed(const MailAddress& address);
  bool IsLocalRecipient(const MailAddress& address);

  void Rewrite(std::size_t depth, const std::string& address);
  void TellNode(std::size_t depth, const Expansion& expansion, std::size_t index,
                std::set<std::string>& told);
  void Route(std::size_t depth, const std::string& text);

  void DeliverLocally(std::size_t depth, const std::string& text, const Source& source);
  bool DeliverToAlias(std::size_t depth, const std::string& address, const std::string& name,
                      const std::string& extension, const Source& source);
  void DeliverToValues(std::size_t depth, const std::string& address, const std::string& values,
                       const std::string& extension, const Source& source);
  void DeliverToAddress(std::size_t depth, const std::string& value, const std::string& extension,
                        const Source& source);
  void DeliverToFile(std::size_t depth, const std::string& address, const std::string& path,
                     const Source& source);
  void DeliverToCommand(std::size_t depth, const std::string& address, const std::string& command,
                        const Source& source);
  void DeliverToIncluded(std::size_t depth, const std::string& address, const std::string& path,
                         const std::string& extension, const Source& source);
  void DeliverToMailbox(std::size_t depth, const std::string& address, const std::string& user);

  Settings settings_;
  LocalNames names_;
  TracedTable access_;
  TracedTable virtual_;
  TracedTable aliases_;
  VirtualAddresses addresses_;
  std::vector<Event> events_;
  bool is_refused_ = false;
  std::set<std::string> routed_;         ///< recipients that were followed
  std::vector<std::string> deliveries_;  ///< recipients that local(8) is delivering to
  std::vector<std::string> open_aliases_;
  std::set<std::string> told_aliases_;
};

}  // namespace panel::trace
