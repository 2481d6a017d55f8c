/// NAME
///   hand_kept_panel - a panel whose tables somebody keeps by hand, and all that it knows

#include "tests/zebmail/hand_kept_panel.h"

#include <array>
#include <sstream>
#include <stdexcept>

#include "host/zeb_db.h"

namespace zebmail_test {

HandKeptPanel::HandKeptPanel(const std::vector<std::string>& web_domains) {
  for (const std::string& name : web_domains) AddWebDomain(name);
}

void HandKeptPanel::AddWebDomain(const std::string& name) const {
  ChangeDatabase([&name] {
    fen_db::Cache& database = zeb_db::GetCache();
    database.Query("INSERT INTO users (name) VALUES ('owner of " + name + "')");
    database.Query("INSERT INTO domain (name, users) SELECT '" + name + "', MAX(id) FROM users");
  });
}

void HandKeptPanel::SetEntries(const std::string& lines) const {
  SetTable("aliases", "postfix_err_nouser:\t\"| exit 67\"\ndevnull:\t\"/dev/null\"\n" + lines);
}

void HandKeptPanel::TouchTable() const {
  SetTable("virtusertable", Table("virtusertable") + "# touched\n");
}

std::string HandKeptPanel::State() const {
  return "-- domains\n" + Do({"domain", "list"}) + "-- mailboxes\n" + Do({"mailbox", "list"}) +
         "-- whitelist\n" + Do({"whitelist", "list"}) + "-- blacklist\n" +
         Do({"blacklist", "list"});
}

std::string HandKeptPanel::Rows() const {
  return Query(
             "SELECT id, name, active, users, defaction, redirect, ip FROM email_domain"
             " ORDER BY id",
             7) +
         Query("SELECT id, name, domain, active, dropmail FROM email ORDER BY id", 5) +
         Query("SELECT email, name FROM email_alias ORDER BY id", 2) +
         Query("SELECT email, name FROM email_forward ORDER BY id", 2) +
         Query("SELECT email, active FROM email_responder ORDER BY id", 2) +
         Query("SELECT name FROM email_whitelist ORDER BY id") +
         Query("SELECT name FROM email_blacklist ORDER BY id");
}

std::string HandKeptPanel::Query(const std::string& sql, std::size_t columns) const {
  std::string text;
  ChangeDatabase([&] {
    for (fen_db::Result rows = zeb_db::GetCache().Query(sql); !rows.Eof(); rows.Next()) {
      for (std::size_t column = 0; column < columns; ++column) {
        text += (column == 0 ? "" : "|") + rows.Str(column);
      }
      text += "\n";
    }
  });
  return text;
}

std::string Summary(const std::vector<std::string>& counts) {
  constexpr std::array kKinds = {"domains",  "mailboxes", "aliases",
                                 "forwards", "whitelist", "blacklist"};
  if (counts.size() != kKinds.size()) throw std::invalid_argument("counts of each kind, please");
  std::string text;
  for (std::size_t kind = 0; kind < kKinds.size(); ++kind) {
    std::istringstream words(counts[kind]);
    std::string added;
    std::string changed;
    std::string removed;
    words >> added >> changed >> removed;
    text += std::string(kKinds[kind]) + ": " + added + " added, " + changed + " changed, " +
            removed + " removed\n";
  }
  return text;
}

std::string NothingNew() {
  return Summary({"0 0 0", "0 0 0", "0 0 0", "0 0 0", "0 0 0", "0 0 0"});
}

}  // namespace zebmail_test
