/// NAME
///   table_model - what a table file should say, kept as plainly as possible

#include "tests/postfix/table_model.h"

#include <algorithm>
#include <utility>

namespace test_support {
namespace {

constexpr char kBlanks[] = " \t\r\n";

bool IsContinuation(const std::string& line) {
  const std::size_t text = line.find_first_not_of(kBlanks);
  return text != std::string::npos && text > 0 && line[text] != '#';
}

bool IsPassedOver(const std::string& line) {
  const std::size_t text = line.find_first_not_of(kBlanks);
  return text == std::string::npos || line[text] == '#';
}

}  // namespace

TableModel::TableModel(const std::string& text, std::string mark) : mark_(std::move(mark)) {
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find('\n', begin), text.size() - 1) + 1;
    lines_.push_back(text.substr(begin, end - begin));
    begin = end;
  }
}

std::string TableModel::Text() const {
  std::string text;
  for (const std::string& line : lines_) text += line;
  return text;
}

void TableModel::Append(const std::string& line) {
  if (!lines_.empty() && !lines_.back().ends_with('\n')) lines_.back() += '\n';
  lines_.push_back(line);
}

void TableModel::Set(const std::string& key, const std::string& value) {
  std::string& line = lines_.at(Find(key).value());
  const std::size_t behind_key = mark_.size() + key.size();
  const std::size_t begin = std::min(line.find_first_not_of(" \t", behind_key), line.size());
  const std::size_t end = std::min(line.find_first_of("#\r\n", begin), line.size());
  const std::size_t last = line.find_last_not_of(" \t", end - 1);
  if (begin < end) {
    line.replace(begin, last + 1 - begin, value);
  } else {
    const std::string before = begin == behind_key ? "\t" : "";
    const std::string behind = end < line.size() && line[end] == '#' ? " " : "";
    line.insert(begin, before + value + behind);
  }
}

void TableModel::Delete(const std::string& key) {
  const std::optional<std::size_t> found = Find(key);
  if (!found) return;
  lines_.erase(lines_.begin() + static_cast<std::ptrdiff_t>(*found));
  for (std::size_t i = *found; i < lines_.size();) {
    if (IsContinuation(lines_[i])) {
      lines_.erase(lines_.begin() + static_cast<std::ptrdiff_t>(i));
    } else if (IsPassedOver(lines_[i])) {
      ++i;
    } else {
      return;
    }
  }
}

std::optional<std::size_t> TableModel::Find(const std::string& key) const {
  const std::string begin = mark_ + key;
  for (std::size_t i = 0; i < lines_.size(); ++i) {
    if (!lines_[i].starts_with(begin)) continue;
    if (lines_[i].find_first_of(" \t\r\n#", begin.size()) == begin.size() ||
        lines_[i].size() == begin.size()) {
      return i;
    }
  }
  return std::nullopt;
}

}  // namespace test_support
