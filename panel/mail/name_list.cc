/// NAME
///   name_list - which names a list of domains in main.cf holds

#include "panel/mail/name_list.h"

#include <sstream>

#include "panel/conf/disk_file.h"
#include "panel/mail/names.h"
#include "panel/mail/value_list.h"

namespace panel::mail {
namespace {

class Search {
 public:
  Search(const std::set<std::string>& names, const LookUpFunction& look_up)
      : undecided_(names), look_up_(look_up) {}

  void Visit(const std::vector<std::string>& elements, bool is_in = true, int depth = 0) {
    for (std::string element : elements) {
      bool is_listed = is_in;
      while (element.starts_with('!')) {
        element.erase(0, 1);
        is_listed = !is_listed;
      }
      if (element.starts_with('/')) {
        VisitFile(element, is_listed, depth);
      } else if (element.find(':') != std::string::npos) {
        VisitMap(element, is_listed);
      } else {
        Decide(LowerCase(element), is_listed);
      }
    }
  }

  const std::set<std::string>& listed() const noexcept { return listed_; }

 private:
  static constexpr int kDeepest = 10;  ///< a file may name files, even itself

  void VisitFile(const std::string& path, bool is_listed, int depth) {
    if (depth == kDeepest) return;
    std::istringstream text(conf::ReadWholeFile(path).bytes);
    for (std::string line; std::getline(text, line);) {
      Visit(SplitList(line.substr(0, line.find('#'))), is_listed, depth + 1);
    }
  }

  void VisitMap(const std::string& map, bool is_listed) {
    const std::vector<std::string> names(undecided_.begin(), undecided_.end());
    for (const auto& [name, answer] : look_up_(map, names)) Decide(name, is_listed);
  }

  void Decide(const std::string& name, bool is_listed) {
    if (undecided_.erase(name) != 0 && is_listed) listed_.insert(name);
  }

  std::set<std::string> undecided_;
  std::set<std::string> listed_;
  const LookUpFunction& look_up_;
};

}  // namespace

std::set<std::string> NamesInList(const std::vector<std::string>& elements,
                                  const std::set<std::string>& names,
                                  const LookUpFunction& look_up) {
  Search search(names, look_up);
  search.Visit(elements);
  return search.listed();
}

}  // namespace panel::mail
