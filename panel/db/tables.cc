/// NAME
///   tables - the classes of the panel's tables

#include "panel/db/tables.h"

#include <array>

#include "host/fen_err.h"
#include "host/zeb_db.h"
#include "panel/db/responder_text.h"
#include "panel/db/web_domain.h"

namespace zeb_db {

EmailDomainTable::EmailDomainTable()
    : CustomTable("email_domain"),
      id(*this, "id"),
      name(*this, "name"),
      active(*this, "active", true),
      users(*this, "users"),
      defaction(*this, "defaction"),
      redirect(*this, "redirect"),
      ip(*this, "ip"),
      tag(*this, "tag") {}

EmailTable::EmailTable()
    : CustomTable("email"),
      id(*this, "id"),
      name(*this, "name"),
      domain(*this, "domain"),
      active(*this, "active", true),
      dropmail(*this, "dropmail", false),
      tag(*this, "tag") {}

EmailAliasTable::EmailAliasTable()
    : CustomTable("email_alias"), id(*this, "id"), name(*this, "name"), email(*this, "email") {}

EmailForwardTable::EmailForwardTable()
    : CustomTable("email_forward"), id(*this, "id"), name(*this, "name"), email(*this, "email") {}

EmailResponderTable::EmailResponderTable()
    : CustomTable("email_responder"),
      id(*this, "id"),
      email(*this, "email"),
      active(*this, "active", true) {}

EmailWhitelist::EmailWhitelist()
    : CustomTable("email_whitelist"), id(*this, "id"), name(*this, "name") {}

EmailBlacklist::EmailBlacklist()
    : CustomTable("email_blacklist"), id(*this, "id"), name(*this, "name") {}

}  // namespace zeb_db

namespace panel::db {

ResponderTextTable::ResponderTextTable()
    : CustomTable("responder_text"),
      id(*this, "id"),
      mailbox(*this, "mailbox"),
      subject(*this, "subject"),
      body(*this, "body") {}

WebDomainTable::WebDomainTable()
    : CustomTable("domain"), id(*this, "id"), name(*this, "name"), users(*this, "users") {}

namespace {

using Table = std::unique_ptr<fen_db::CustomTable>;

template <class T>
Table Make() {
  return std::make_unique<T>();
}

struct TableClass {
  const char* type_name;
  const char* sql_name;
  Table (*make)();
};

const std::array<TableClass, 9>& Classes() {
  static const std::array<TableClass, 9> classes = {{
      {typeid(zeb_db::EmailDomainTable).name(), "email_domain", &Make<zeb_db::EmailDomainTable>},
      {typeid(zeb_db::EmailTable).name(), "email", &Make<zeb_db::EmailTable>},
      {typeid(zeb_db::EmailAliasTable).name(), "email_alias", &Make<zeb_db::EmailAliasTable>},
      {typeid(zeb_db::EmailForwardTable).name(), "email_forward", &Make<zeb_db::EmailForwardTable>},
      {typeid(zeb_db::EmailResponderTable).name(), "email_responder",
       &Make<zeb_db::EmailResponderTable>},
      {typeid(zeb_db::EmailWhitelist).name(), "email_whitelist", &Make<zeb_db::EmailWhitelist>},
      {typeid(zeb_db::EmailBlacklist).name(), "email_blacklist", &Make<zeb_db::EmailBlacklist>},
      {typeid(ResponderTextTable).name(), "responder_text", &Make<ResponderTextTable>},
      {typeid(WebDomainTable).name(), "domain", &Make<WebDomainTable>},
  }};
  return classes;
}

[[noreturn]] void Refuse(const std::string& name) {
  throw fen_err::Error("database", name, "is none of the panel's tables");
}

}  // namespace

Table MakeTable(const std::string& type_name) {
  for (const TableClass& known : Classes()) {
    if (type_name == known.type_name) return known.make();
  }
  Refuse(type_name);
}

Table MakeTableFor(const std::string& sql_name) {
  for (const TableClass& known : Classes()) {
    if (sql_name == known.sql_name) return known.make();
  }
  Refuse(sql_name);
}

}  // namespace panel::db
