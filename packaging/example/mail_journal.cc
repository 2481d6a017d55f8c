/// NAME
///   mail_journal - a mail back-end that keeps a journal of what it is asked
///
/// WHAT IT DOES
///   Serves the panel whose parameter MTA is "journal": appends a line for each change to the file
///   at the path "journal-file". A back-end for a real mail server changes its files instead.

#include <fstream>

#include "email/mta_interface.h"
#include "host/apistat.h"
#include "host/email.h"
#include "host/fen_cf.h"
#include "host/fen_err.h"
#include "host/zeb_api.h"

namespace {

using Domain = std::shared_ptr<zeb_db::EmailDomainTable>;
using Mailbox = std::shared_ptr<zeb_db::EmailTable>;
using Responder = std::shared_ptr<zeb_db::EmailResponderTable>;

void Write(const std::string& what, const std::string& about) {
  const std::string path = fen_cf::GetPath("journal-file");
  std::ofstream file(path, std::ios::app);
  file << what << " " << about << std::endl;
  if (!file) throw fen_err::Error("file", path, "cannot be written");
}

class MailJournal : public email::MtaInterface {
 public:
  MailJournal() { apistat::ModuleInterface("mail", "journal"); }

  void CreateDomain(Domain& row) override { Write("create", row->name.Str()); }
  void DeleteDomain(Domain& row) override { Write("delete", row->name.Str()); }
  void SuspendDomain(Domain& row) override { Write("suspend", row->name.Str()); }
  void ResumeDomain(Domain& row) override { Write("resume", row->name.Str()); }
  void UpdateDomain(Domain& row) override { Write("update", row->name.Str()); }
  void CreateEmail(Mailbox& row) override { Write("create", email::GetEmailName(row)); }
  void DeleteEmail(Mailbox& row) override { Write("delete", email::GetEmailName(row)); }
  void SuspendEmail(Mailbox& row) override { Write("suspend", email::GetEmailName(row)); }
  void ResumeEmail(Mailbox& row) override { Write("resume", email::GetEmailName(row)); }
  void UpdateEmail(Mailbox& row) override { Write("update", email::GetEmailName(row)); }
  void SetAliases(Mailbox& row, const std::list<std::string>&) override { UpdateEmail(row); }
  void SetResponder(Responder&) override {}  // SetAliases comes after it
  void GetResponder(Responder&) override {}
  void AddToWhitelist(const std::string& value) override { Write("allow", value); }
  void DeleteFromWhitelist(const std::string& value) override { Write("forget", value); }
  void AddToBlacklist(const std::string& value) override { Write("refuse", value); }
  void DeleteFromBlacklist(const std::string& value) override { Write("forget", value); }
  void CacheEmails() override {}  // nobody edits a journal, so that nothing is read back
  void CacheDomains() override {}
  void CacheAliases(Mailbox&) override {}
  void CacheWhitelist() override {}
  void CacheBlacklist() override {}
  void SetSSLCertForDomain(const std::string&, const std::string&, const std::string&) override {
    throw fen_err::Error("not_supported");
  }
};

struct JournalModule : zeb_api::Module {
  JournalModule() : Module("mail_journal") {
    if (fen_cf::GetParam("MTA") == "journal") email::RegisterMta(new MailJournal);
  }
};

zeb_api::RegisterModule<JournalModule> registration("mail_journal");

}  // namespace
