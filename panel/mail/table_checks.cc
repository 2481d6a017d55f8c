/// NAME
///   table_checks - whether Postfix reads the tables as the panel does

#include "panel/mail/table_checks.h"

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "host/fen_err.h"
#include "panel/mail/mail_rows.h"
#include "panel/mail/table_path.h"
#include "panel/mail/text_table.h"

namespace panel::mail {
namespace {

/// A table that somebody has spoilt as a whole need not fill the report.
constexpr std::size_t kMostFindings = 20;

/// The names of the domains that the panel has, or takes over when it finds them.
using Domains = std::set<std::string>;

Domains PanelDomains() {
  const std::vector<std::string> names =
      Column("SELECT name FROM email_domain UNION SELECT name FROM domain");
  return {names.begin(), names.end()};
}

/// Whether a line with this key is one that the panel may change: of a domain of its own, an
/// address in it, or the entry of a mailbox, such as "info+example.org".
bool IsManaged(const std::string& key, const Domains& domains) {
  for (std::size_t begin = 0;;) {
    if (domains.contains(key.substr(begin))) return true;
    const std::size_t separator = key.find_first_of("@+", begin);
    if (separator == std::string::npos) return false;
    begin = separator + 1;
  }
}

/// How an oddity is told.
struct Words {
  const char* what;
  const char* why;
  const char* mend;
  bool of_panel_only;  ///< in lines of others it does no harm
};

const Words& WordsFor(Oddity::Kind kind) {
  static const std::map<Oddity::Kind, Words> words = {
      {Oddity::Kind::kNoEntry,
       {"is no entry", "Postfix skips it", "complete the line, or delete it", false}},
      {Oddity::Kind::kContinuesNothing,
       {"begins with a blank and continues no line", "Postfix skips it",
        "take the blank away, or delete the line", false}},
      {Oddity::Kind::kNul,
       {"holds a NUL character", "Postfix reads nothing behind it, and the panel not the line",
        "take the character out", false}},
      {Oddity::Kind::kContinued,
       {"is continued in the line below",
        "the panel reads and changes the first line alone, Postfix reads all", "join the lines",
        true}},
      {Oddity::Kind::kOtherSpelling,
       {"has its key in capital letters or quotes",
        "the panel, which writes neither, does not find the line to change it",
        "write the key plainly, then sync", true}},
      {Oddity::Kind::kComment,
       {"has a comment behind its value", "Postfix takes that for addresses as well",
        "put the comment into a line of its own", true}},
  };
  return words.at(kind);
}

class TableCheck {
 public:
  TableCheck(std::string path, Format format, const Domains& domains)
      : path_(std::move(path)), table_(path_, format), domains_(domains) {}

  Findings Run() {
    for (const Repeat& repeat : table_.FindRepeats()) Add(repeat);
    for (const Oddity& oddity : table_.FindOddities()) Add(oddity);
    if (more_ != 0) {
      findings_.push_back({"table",
                           path_,
                           "has " + std::to_string(more_) + " more lines like these",
                           "Postfix and the panel do not read them alike",
                           "mend the lines above, then check again",
                           {}});
    }
    return std::move(findings_);
  }

 private:
  void Add(const Repeat& repeat) {
    const std::string first = path_ + ":" + std::to_string(repeat.first);
    Add(repeat.line, "has the key " + repeat.key + ", which " + first + " has already",
        "Postfix goes by the first of them", "delete the one that is not right");
  }

  void Add(const Oddity& oddity) {
    const Words& words = WordsFor(oddity.kind);
    if (words.of_panel_only && !IsManaged(oddity.key, domains_)) return;
    Add(oddity.line, words.what, words.why, words.mend);
  }

  void Add(std::size_t line, const std::string& what, const std::string& why,
           const std::string& mend) {
    if (findings_.size() == kMostFindings) {
      ++more_;
      return;
    }
    findings_.push_back({"table", path_ + ":" + std::to_string(line), what, why, mend, {}});
  }

  std::string path_;
  TextTable table_;
  const Domains& domains_;
  Findings findings_;
  std::size_t more_ = 0;
};

}  // namespace

/// That a table cannot be read is another check's to say.
Findings CheckTableLines() {
  const Domains domains = PanelDomains();
  Findings all;
  for (const auto& [name, format] :
       {std::pair("virtusertable", Format::kPostmap), std::pair("accessdb", Format::kPostmap),
        std::pair("aliases", Format::kPostalias)}) {
    try {
      const Findings found = TableCheck(TablePath(name), format, domains).Run();
      all.insert(all.end(), found.begin(), found.end());
    } catch (const fen_err::Error& error) {
      if (error.type() != "file") throw;
    }
  }
  return all;
}

}  // namespace panel::mail
