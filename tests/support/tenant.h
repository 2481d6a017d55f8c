/// NAME
///   tenant - somebody whose domains are kept by a panel, and who changes them all the time
///
/// PURPOSE
///   Tests that run many operations at once need to know what must be there in the end. Each tenant
///   has domains, mailboxes and list entries whose names nobody else uses; his operations come in
///   random order, are all such as must succeed, and can be run by the command or by the mail
///   module.

#pragma once

#include <cstddef>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "panel/mail/mail_module.h"

namespace test_support {

class Tenant {
 public:
  /// Tenants have different numbers; the same seed gives the same operations.
  Tenant(int number, unsigned seed);

  /// The words of his next operation, as the command takes them.
  std::vector<std::string> Next();

  /// The lines of an export that are his when all his operations have been done.
  std::vector<std::string> Lines() const;

  /// The addresses of his mailboxes then, and whether each is active.
  std::vector<std::pair<std::string, bool>> Mailboxes() const;

 private:
  struct Mailbox {
    std::string address;
    bool active = true;
    bool drops_mail = false;
    std::vector<std::string> aliases;
    std::vector<std::string> forwards;
  };
  struct Domain {
    std::string name;
    bool active = true;
    std::string default_action = "error";
    std::vector<Mailbox> mailboxes;
  };
  using Words = std::vector<std::string>;

  Words CreateDomain();
  Words ChangeDomain(std::size_t number);
  Words CreateMailbox(Domain& domain);
  Words ChangeMailbox(Domain& domain, std::size_t number);
  Words ChangeNames(const std::string& kind, const std::string& mailbox,
                    std::vector<std::string>& names, const std::string& name);
  Words ChangeList(const std::string& kind, std::vector<std::string>& values);

  std::size_t Below(std::size_t end);
  std::string NewName(const std::string& kind) { return kind + std::to_string(++names_); }

  std::string at_;
  std::mt19937 random_;
  int names_ = 0;
  std::vector<Domain> domains_;
  std::vector<std::string> white_;
  std::vector<std::string> black_;
};

/// Does what the command does for the words of a tenant, within a change in progress.
void Perform(panel::mail::MailModule& mail, const std::vector<std::string>& words);

}  // namespace test_support
