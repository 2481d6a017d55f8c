/// NAME
///   random_edits_test - a map is the one that a full rebuild gives, whatever was done to the text
///
/// HOW OFTEN
///   ZEBMAIL_MAP_EDITS edits of each kind of map.

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/maps/map_place.h"

namespace maps_test {
namespace {

constexpr int kEdits = 60;

int EditCount() {
  const char* const count = std::getenv("ZEBMAIL_MAP_EDITS");
  return count == nullptr ? kEdits : std::atoi(count);
}

/// A text that is edited as an administrator, a panel and a bad day would.
class EditedText {
 public:
  EditedText(unsigned seed, bool has_aliases) : random_(seed), has_aliases_(has_aliases) {
    for (int line = 0; line < 60; ++line) lines_.push_back(Entry());
  }

  std::string Text() const {
    std::string text;
    for (const std::string& line : lines_) text += line + "\n";
    if (ends_open_ && !text.empty()) text.pop_back();
    return text;
  }

  /// Mostly one simple change, sometimes an odd one, sometimes several. Oddities go again: as long
  /// as one is there, each map is built anew.
  void Edit() {
    const int edits = Chance(5) ? 2 + Below(12) : 1;
    for (int edit = 0; edit < edits; ++edit) {
      if (Chance(10)) {
        DoOdd();
      } else {
        DoSimple();
      }
    }
    if (Chance(2)) RemoveOddities();
    ends_open_ = Chance(15);
  }

 private:
  int Below(int most) { return static_cast<int>(random_() % static_cast<unsigned>(most)); }
  bool Chance(int one_in) { return Below(one_in) == 0; }
  std::size_t Place() { return random_() % (lines_.size() + 1); }
  std::string& Any() {
    if (lines_.empty()) lines_.push_back(Entry());
    return lines_[random_() % lines_.size()];
  }

  std::string Key() {
    const std::string key = "user" + std::to_string(Below(400));
    if (has_aliases_) return key + (Chance(3) ? "+d.example" : Chance(4) ? ".x" : "");
    return (Chance(8) ? "" : key) + "@d" + std::to_string(Below(3)) + ".example";
  }

  std::string Value() {
    std::string value = "target" + std::to_string(Below(1000));
    if (Chance(4)) value += ", more" + std::to_string(Below(9));
    if (Chance(6)) value += has_aliases_ ? ",\"|prog a:b\"" : " # \"no\" comment";
    if (Chance(12)) value += "  ";
    return value;
  }

  std::string Entry() {
    const std::string separator = Chance(4) ? "  " : "\t";
    if (has_aliases_) return Key() + (Chance(6) ? " :" : ":") + separator + Value();
    return Key() + separator + Value();
  }

  void Insert(const std::string& line) {
    lines_.insert(lines_.begin() + static_cast<std::ptrdiff_t>(Place()), line);
  }

  void Erase() {
    if (lines_.empty()) return;
    lines_.erase(lines_.begin() + static_cast<std::ptrdiff_t>(random_() % lines_.size()));
  }

  void DoSimple() {
    switch (Below(8)) {
      case 0:
      case 1:
        return Insert(Entry());
      case 2:
        return lines_.push_back(Entry());
      case 3:
        return Erase();
      case 4: {
        std::string& line = Any();
        const std::size_t key = has_aliases_ ? line.find(':') + 1 : line.find_first_of("\t ");
        const bool is_entry = !line.empty() && line[0] != '#' && !IsOdd(line);
        line = is_entry ? line.substr(0, key) + " " + Value() : Entry();
        return;
      }
      case 5:
        return std::swap(Any(), Any());
      case 6:
        return Insert(Chance(2) ? "# " + Entry() : "");
      default:
        Any() = Entry();
    }
  }

  static const std::vector<std::string>& OddLines() {
    static const std::vector<std::string> lines = {"key",
                                                   "\"q u\" value",
                                                   "\"user1\": x",
                                                   "user1: x",
                                                   "  continued",
                                                   "\tcont, inued",
                                                   " # c",
                                                   " \t ",
                                                   "k\\ ey v",
                                                   "(c) user2: x",
                                                   "@x: y",
                                                   "a b: c",
                                                   "\xc3\xa4 x",
                                                   "user3 \xff",
                                                   "user4\r",
                                                   "user5 x\r",
                                                   "user6: x\r",
                                                   "#",
                                                   "YP_MASTER_NAME: me",
                                                   "@: @",
                                                   "user7 \"unbalanced",
                                                   "user8: \"unbalanced",
                                                   "user9:",
                                                   "\v\f",
                                                   "user10 a\vb",
                                                   "user1@D1.example\tother"};
    return lines;
  }

  void DoOdd() {
    switch (Below(7)) {
      case 0:
        return Insert(Any());
      case 1: {
        std::string line = Any();
        if (IsOdd(line)) return;
        std::transform(line.begin(), line.end(), line.begin(),
                       [](unsigned char byte) { return static_cast<char>(std::toupper(byte)); });
        return Insert(line);
      }
      case 2:
        Any() += "\r";
        return;
      case 3: {
        const std::size_t begin = Place();
        std::reverse(lines_.begin() + static_cast<std::ptrdiff_t>(begin), lines_.end());
        return;
      }
      case 4:
        for (int line = 0; line < 70; ++line) Insert(Entry());
        if (lines_.size() > 300) lines_.resize(80);
        return;
      default:
        Insert(OddLines()[random_() % OddLines().size()]);
    }
  }

  static bool IsOdd(const std::string& line) {
    return line.ends_with('\r') ||
           std::find(OddLines().begin(), OddLines().end(), line) != OddLines().end();
  }

  void RemoveOddities() {
    lines_.erase(std::remove_if(lines_.begin(), lines_.end(), IsOdd), lines_.end());
  }

  std::mt19937 random_;
  bool has_aliases_;
  bool ends_open_ = false;
  std::vector<std::string> lines_;
};

struct Kind {
  const char* name;
  const char* type;
  const char* program;
};

class RandomEdits : public testing::TestWithParam<Kind> {};

std::string CaseName(const testing::TestParamInfo<Kind>& kind) {
  return kind.param.name;
}

INSTANTIATE_TEST_SUITE_P(Maps, RandomEdits,
                         testing::Values(Kind{"Hash", "hash", "postmap"},
                                         Kind{"Btree", "btree", "postmap"},
                                         Kind{"Lmdb", "lmdb", "postmap"},
                                         Kind{"HashOfAliases", "hash", "postalias"},
                                         Kind{"LmdbOfAliases", "lmdb", "postalias"}),
                         CaseName);

TEST_P(RandomEdits, LeaveMapThatFullRebuildGives) {
  const MapPlace place(GetParam().type, GetParam().program);
  EditedText edited(std::random_device{}(), std::string(GetParam().program) == "postalias");
  int changed = 0;
  std::string before;
  for (int edit = 0; edit < EditCount(); ++edit) {
    const std::string text = edited.Text();
    const CommandRun run = place.RunOn(text);
    ASSERT_EQ(run.status, 0) << run.errors;
    if (place.TakeWays().find("build") == std::string::npos) ++changed;
    ASSERT_EQ(place.Entries(), place.EntriesOfRebuilt()) << "-- before\n"
                                                         << before << "\n-- now\n"
                                                         << text;
    before = text;
    edited.Edit();
  }
  EXPECT_GT(changed, EditCount() / 8) << "hardly any map was changed by its entries";
  RecordProperty("changed", changed);
}

TEST_P(RandomEdits, AreMadeUpForAfterKill) {
  const MapPlace place(GetParam().type, GetParam().program);
  const unsigned seed = std::random_device{}();
  EditedText edited(seed, std::string(GetParam().program) == "postalias");
  std::mt19937 random(seed);
  for (int edit = 0; edit < EditCount() / 2; ++edit) {
    place.SetText(edited.Text());
    place.RunAndKill(std::chrono::microseconds(random() % 40000), random() % 2 == 0);
    if (random() % 2 == 0) edited.Edit();
    const CommandRun run = place.RunOn(edited.Text());
    ASSERT_EQ(run.status, 0) << run.errors;
    ASSERT_EQ(place.Entries(), place.EntriesOfRebuilt()) << "seed " << seed;
    edited.Edit();
  }
}

}  // namespace
}  // namespace maps_test
