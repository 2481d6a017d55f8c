/// NAME
///   random_edits_test - the lines of a file, and the index of their keys, against plain models
///
/// PURPOSE
///   Thousands of random edits on small files, compared after each one with a list of lines that is
///   kept by the simplest code there is. A failure prints the seed that repeats it.

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "panel/conf/cache.h"
#include "panel/conf/key_index.h"
#include "panel/conf/text.h"
#include "tests/panel/sample_table.h"
#include "tests/support/test_panel.h"

namespace {

using panel::conf::Cache;
using panel::conf::KeyIndex;
using panel::conf::LineId;
using panel::conf::Text;
using panel_test::Pair;
using panel_test::SampleTable;

/// A line of the model, with the line of the text that it stands for.
struct ModelLine {
  LineId id;
  std::string text;
};

class RandomEdits : public testing::TestWithParam<unsigned> {
 protected:
  std::size_t Below(std::size_t limit) {
    return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
  }

  std::string NewLine() {
    static const std::vector<std::string> lines = {"# comment\n", "\n",    "  continued\n",
                                                   "+list a,b\n", " \t\n", "odd+line\n"};
    if (Below(3) == 0) return lines[Below(lines.size())];
    return "k" + std::to_string(Below(8)) + " " + std::to_string(Below(1000)) + "\n";
  }

  std::string File() {
    std::string text;
    for (std::size_t line = Below(30); line > 0; --line) text += NewLine();
    if (!text.empty() && Below(2) == 0) text.pop_back();
    return text;
  }

  static std::vector<ModelLine> Lines(const Text& text) {
    std::vector<ModelLine> lines;
    for (LineId line = text.First(); !line.IsNone(); line = text.Next(line)) {
      lines.push_back({line, std::string(text.Line(line))});
    }
    return lines;
  }

  static std::string Whole(const Text& text) {
    std::string whole;
    text.Write([&whole](std::string_view piece) { whole += piece; });
    return whole;
  }

  static std::string Join(const std::vector<ModelLine>& lines) {
    std::string whole;
    for (const ModelLine& line : lines) whole += line.text;
    return whole;
  }

  static void EndLastLine(std::vector<ModelLine>& lines) {
    if (!lines.empty() && !lines.back().text.ends_with('\n')) lines.back().text += '\n';
  }

  std::mt19937 random{GetParam()};
};

TEST_P(RandomEdits, OfLinesGiveWhatAPlainListOfLinesGives) {
  for (int file = 0; file < 40; ++file) {
    const std::string read = File();
    Text text(read);
    std::vector<ModelLine> model = Lines(text);
    ASSERT_EQ(Join(model), read);
    for (int step = 0; step < 60; ++step) {
      const std::size_t edit = model.empty() ? 0 : Below(4);
      const std::string line = NewLine();
      const auto at = model.begin() + static_cast<long>(model.empty() ? 0 : Below(model.size()));
      if (edit == 0) {
        EndLastLine(model);
        model.push_back({text.Append(line), line});
      } else if (edit == 1) {
        if (at + 1 == model.end()) EndLastLine(model);
        model.insert(at + 1, {text.InsertBelow(at->id, line), line});
      } else if (edit == 2) {
        text.Replace(at->id, line);
        at->text = line;
      } else {
        text.Remove(at->id);
        EXPECT_FALSE(text.IsIn(at->id));
        model.erase(at);
      }
      ASSERT_EQ(Whole(text), Join(model)) << "seed " << GetParam();
      ASSERT_EQ(Join(Lines(text)), Join(model)) << "seed " << GetParam();
    }
    for (std::size_t left = 0; left < model.size(); ++left) {
      for (std::size_t right = 0; right < model.size(); ++right) {
        ASSERT_EQ(text.IsBefore(model[left].id, model[right].id), left < right);
      }
    }
  }
}

TEST_P(RandomEdits, OfRecordsLeaveTheIndexFindingWhatAWalkFinds) {
  const test_support::TestPanel panel;
  const std::string path = panel.folder().Path("table");
  for (int file = 0; file < 4; ++file) {
    panel.folder().WriteText("table", File());
    auto pair = SampleTable::Get<Pair>(path);
    for (int step = 0; step < 100; ++step) {
      const std::string key = "k" + std::to_string(Below(8));
      const std::size_t edit = Below(4);
      if (edit == 0) {
        pair->New();
        pair->key.Set(key);
        pair->value.Set(std::to_string(step));
        pair->Post("k" + std::to_string(Below(12)));
      } else if (edit == 1) {
        pair->Delete(key);
      } else if (edit == 2 && pair->Find(key)) {
        pair->key.Set("k" + std::to_string(Below(8)));
        pair->Post("");
      }
      for (int number = 0; number < 8; ++number) {
        const std::string wanted = "k" + std::to_string(number);
        std::string walked = "none";
        auto walk = SampleTable::Get<Pair>(path);
        for (walk->First(); !walk->Eof(); walk->Next()) {
          if (walk->key.Str() != wanted) continue;
          walked = walk->value.Str();
          break;
        }
        const std::string found = walk->Find(wanted) ? walk->value.Str() : "none";
        ASSERT_EQ(found, walked) << wanted << ", seed " << GetParam();
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomEdits, testing::Range(1U, 9U));

TEST(TextLines, ALongRunOfRemovedLinesIsPassedOver) {
  std::string read;
  for (int line = 0; line < 200000; ++line) read += "a\n";
  Text text(read + "last\n");
  LineId line = text.First();
  while (text.Line(line) != "last\n") {
    text.Remove(line);
    line = text.Next(line);
  }

  EXPECT_EQ(text.Line(text.First()), "last\n");
}

}  // namespace
