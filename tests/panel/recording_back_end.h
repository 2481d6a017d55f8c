/// NAME
///   recording_back_end - a mail server's side that only notes what it is asked for
///
/// PURPOSE
///   Stands in for the back-end where a test is about the mail module alone: which operations it
///   calls, with which rows, and what it does when one of them fails.

#pragma once

#include <functional>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "email/mta_interface.h"

namespace panel_test {

class RecordingBackEnd : public email::MtaInterface {
  using Domain = std::shared_ptr<zeb_db::EmailDomainTable>;
  using Mailbox = std::shared_ptr<zeb_db::EmailTable>;

 public:
  /// What was asked for, in order: the operation, the name, and what else counts for a domain.
  std::vector<std::string> calls;

  /// Called at the end of each operation on a domain or mailbox.
  std::function<void()> then = [] {};

  bool can_bind_to_ip = true;

  void CacheEmails() override {}
  void CreateEmail(Mailbox& mailbox) override { Note("CreateEmail", mailbox->name.Str()); }
  void DeleteEmail(Mailbox& mailbox) override { Note("DeleteEmail", mailbox->name.Str()); }
  void SuspendEmail(Mailbox& mailbox) override { Note("SuspendEmail", mailbox->name.Str()); }
  void ResumeEmail(Mailbox& mailbox) override { Note("ResumeEmail", mailbox->name.Str()); }
  void UpdateEmail(Mailbox& mailbox) override { Note("UpdateEmail", mailbox->name.Str()); }
  void CacheDomains() override {}
  void CreateDomain(Domain& domain) override { Note("CreateDomain", Text(*domain)); }
  void DeleteDomain(Domain& domain) override { Note("DeleteDomain", Text(*domain)); }
  void SuspendDomain(Domain& domain) override { Note("SuspendDomain", Text(*domain)); }
  void ResumeDomain(Domain& domain) override { Note("ResumeDomain", Text(*domain)); }
  void UpdateDomain(Domain& domain) override { Note("UpdateDomain", Text(*domain)); }
  void CacheAliases(Mailbox&) override {}
  void SetAliases(Mailbox& mailbox, const std::list<std::string>& dropped) override {
    std::string text = mailbox->name.Str();
    for (const std::string& name : dropped) text += " -" + name;
    Note("SetAliases", text);
  }
  void GetResponder(std::shared_ptr<zeb_db::EmailResponderTable>&) override {}
  void SetResponder(std::shared_ptr<zeb_db::EmailResponderTable>& responder) override {
    const auto mailbox = zeb_db::GetCache().Get<zeb_db::EmailTable>(responder->email.Str());
    Note("SetResponder", mailbox->name.Str() + (responder->active ? " on" : " off"));
  }
  void AddToWhitelist(const std::string&) override {}
  void DeleteFromWhitelist(const std::string&) override {}
  void CacheWhitelist() override {}
  void AddToBlacklist(const std::string&) override {}
  void DeleteFromBlacklist(const std::string&) override {}
  void CacheBlacklist() override {}
  bool CanBindToIp() override { return can_bind_to_ip; }
  void SetSSLCertForDomain(const std::string&, const std::string&, const std::string&) override {}

 private:
  static std::string Text(const zeb_db::EmailDomainTable& domain) {
    return domain.name.Str() + (domain.active ? " active " : " suspended ") +
           domain.defaction.Str() + " <" + domain.redirect.Str() + "> <" + domain.ip.Str() + ">";
  }

  void Note(const std::string& operation, const std::string& text) {
    calls.push_back(operation + " " + text);
    then();
  }
};

}  // namespace panel_test
