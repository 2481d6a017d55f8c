/// NAME
///   host_name_checks - whether the panel finds its domains among the local host names

#include "panel/mail/host_name_checks.h"

#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "host/fen_err.h"
#include "panel/conf/disk_file.h"
#include "panel/mail/mail_rows.h"
#include "panel/mail/names.h"
#include "panel/mail/table_path.h"
#include "panel/mail/value_list.h"

namespace panel::mail {
namespace {

const char* const kStays =
    "it stays there when the domain is deleted, and Postfix goes on taking its mail";

class HostNameCheck {
 public:
  explicit HostNameCheck(std::string path) : path_(std::move(path)), domains_(DomainNames()) {}

  Findings Run() {
    std::istringstream text(conf::ReadWholeFile(path_).bytes);
    std::string line;
    for (std::size_t number = 1; std::getline(text, line); ++number) {
      if (line.ends_with('\r')) line.pop_back();
      for (const std::string& word : SplitList(line)) {
        if (word.starts_with('#')) break;
        Look(number, line, word);
      }
    }
    return std::move(findings_);
  }

 private:
  void Look(std::size_t number, const std::string& line, const std::string& word) {
    const std::string name = LowerCase(word.substr(word.starts_with('!') ? 1 : 0));
    if (!domains_.contains(name)) return;
    if (name.size() != word.size()) {
      Add(number, "leaves " + name + " out",
          "Postfix takes none of its mail, whatever stands further down", "delete the line");
      return;
    }
    if (line != name) {
      Add(number, "has " + name + " in another form than the panel gives it", kStays,
          "write the name alone, in lower case, without anything else in the line");
      return;
    }
    const auto [first, is_new] = first_lines_.emplace(name, number);
    if (is_new) return;
    Add(number, "has " + name + ", which line " + std::to_string(first->second) + " has already",
        kStays, "delete the line");
  }

  void Add(std::size_t number, const std::string& what, const std::string& why,
           const std::string& mend) {
    findings_.push_back({"table", path_ + ":" + std::to_string(number), what, why, mend, {}});
  }

  std::string path_;
  std::set<std::string> domains_;
  std::map<std::string, std::size_t> first_lines_;
  Findings findings_;
};

}  // namespace

/// That the file cannot be read is another check's to say.
Findings CheckHostNameLines() {
  try {
    return HostNameCheck(TablePath("localhostnames")).Run();
  } catch (const fen_err::Error& error) {
    if (error.type() != "file") throw;
    return {};
  }
}

}  // namespace panel::mail
