/// NAME
///   rows - a panel database with the rows that a test asks for

#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/email.h"
#include "host/zeb_db.h"
#include "panel/db/database.h"
#include "tests/support/test_panel.h"

namespace test_support {

using DomainPtr = std::shared_ptr<zeb_db::EmailDomainTable>;
using MailboxPtr = std::shared_ptr<zeb_db::EmailTable>;
using ResponderPtr = std::shared_ptr<zeb_db::EmailResponderTable>;

/// A domain row without a database behind it, as the mail module hands it over.
inline DomainPtr DomainRow(const std::string& name, const std::string& defaction = "error") {
  auto row = std::make_shared<zeb_db::EmailDomainTable>();
  row->name = name;
  row->defaction = defaction;
  row->active = true;
  return row;
}

class Rows {
 public:
  explicit Rows(const TestPanel& panel) : database_(panel.config().database) {}

  /// An active domain whose unknown addresses bounce.
  DomainPtr AddDomain(const std::string& name) {
    auto row = database_.cache().Get<zeb_db::EmailDomainTable>();
    row->New();
    row->name = name;
    row->active = true;
    row->defaction = "error";
    row->Post();
    return row;
  }

  /// An active mailbox of the domain.
  MailboxPtr AddMailbox(const DomainPtr& domain, const std::string& name) {
    auto row = database_.cache().Get<zeb_db::EmailTable>();
    row->New();
    row->name = name;
    row->domain = domain->id;
    row->active = true;
    row->Post();
    return row;
  }

  void AddAlias(const MailboxPtr& mailbox, const std::string& name) {
    AddPart<zeb_db::EmailAliasTable>(mailbox, name);
  }

  void AddForward(const MailboxPtr& mailbox, const std::string& name) {
    AddPart<zeb_db::EmailForwardTable>(mailbox, name);
  }

  ResponderPtr AddResponder(const MailboxPtr& mailbox, bool active) {
    auto row = database_.cache().Get<zeb_db::EmailResponderTable>();
    row->New();
    row->email = mailbox->id;
    row->active = active;
    row->Post();
    return row;
  }

  /// Runs `work` as one panel operation, whose changes are then stored.
  template <class Work>
  void Operate(Work work) {
    panel::db::Transaction transaction(database_);
    work();
    transaction.Commit();
  }

  /// The first column of what `sql` gives.
  std::vector<std::string> Query(const std::string& sql) {
    std::vector<std::string> values;
    for (auto rows = database_.cache().Query(sql); !rows.Eof(); rows.Next()) {
      values.push_back(rows.Str());
    }
    return values;
  }

 private:
  template <class Table>
  void AddPart(const MailboxPtr& mailbox, const std::string& name) {
    auto row = database_.cache().Get<Table>();
    row->New();
    row->email = mailbox->id;
    row->name = name;
    row->Post();
  }

  panel::db::Database database_;
};

}  // namespace test_support
