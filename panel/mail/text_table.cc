/// NAME
///   text_table - a text table as postmap(1) or postalias(1) reads it

#include "panel/mail/text_table.h"

#include <algorithm>
#include <map>
#include <tuple>
#include <unordered_set>
#include <utility>

#include "panel/conf/disk_file.h"
#include "panel/mail/names.h"
#include "panel/text/byte_set.h"
#include "panel/text/utf8.h"

namespace panel::mail {
namespace {

constexpr std::string_view kBlanks = " \t\r\v\f";

bool IsBlank(char character) {
  return kBlanks.find(character) != std::string_view::npos;
}

std::string_view Trimmed(std::string_view text) {
  const std::size_t begin = std::min(text.find_first_not_of(kBlanks), text.size());
  const std::size_t end = text.find_last_not_of(kBlanks) + 1;
  return text.substr(begin, end > begin ? end - begin : 0);
}

std::string_view LineAt(std::string_view text, std::size_t offset) {
  return text.substr(offset, text.find('\n', offset) - offset);
}

/// Whether Postfix skips the line wherever it stands.
bool IsSkipped(std::string_view line) {
  const std::size_t begin = line.find_first_not_of(kBlanks);
  return begin == std::string_view::npos || line[begin] == '#';
}

/// The key of a line for postmap that is a key and a value in characters that have no other meaning
/// anywhere; empty for another. Nearly all lines are such, and need not be looked at closely.
std::string_view PlainKey(std::string_view line) {
  static constexpr ByteSet kPlain("abcdefghijklmnopqrstuvwxyz0123456789@.+-_=");
  const std::size_t key = kPlain.CountIn(line);
  if (key == 0 || key == line.size() || (line[key] != ' ' && line[key] != '\t')) return {};
  const std::string_view value = line.substr(key + 1);
  const bool is_plain = !value.empty() && kPlain.CountIn(value) == value.size();
  return is_plain ? line.substr(0, key) : std::string_view();
}

/// Where the first character that `ends` is outside of double quotes; the size when there is none.
template <class Ends>
std::size_t FindUnquoted(std::string_view line, const Ends& ends) {
  bool is_quoted = false;
  for (std::size_t place = 0; place < line.size(); ++place) {
    const char character = line[place];
    if (character == '\\') {
      ++place;
    } else if (character == '"') {
      is_quoted = !is_quoted;
    } else if (!is_quoted && ends(character)) {
      return place;
    }
  }
  return line.size();
}

std::size_t KeyEnd(std::string_view line, Format format) {
  return FindUnquoted(line, [format](char character) {
    return format == Format::kPostmap ? IsBlank(character) : character == ':';
  });
}

/// postalias takes the quotes off its keys and leaves one blank between their words.
std::string Unquoted(std::string_view key) {
  std::string text;
  bool is_quoted = false;
  for (std::size_t place = 0; place < key.size(); ++place) {
    const char character = key[place];
    if (character == '"') {
      is_quoted = !is_quoted;
    } else if (character == '\\' && place + 1 < key.size()) {
      text += key[++place];
    } else if (is_quoted || !IsBlank(character)) {
      text += character;
    } else if (!text.ends_with(' ')) {
      text += ' ';
    }
  }
  return text;
}

/// The key by which Postfix finds the line.
std::string KeyOf(std::string_view line, Format format) {
  const std::string_view key = Trimmed(line.substr(0, KeyEnd(line, format)));
  return LowerCase(format == Format::kPostmap ? std::string(key) : Unquoted(key));
}

std::uint32_t Hash(std::string_view key) {
  std::uint32_t hash = 2166136261U;
  for (const char character : key) {
    hash = (hash ^ static_cast<unsigned char>(character)) * 16777619U;
  }
  return hash;
}

}  // namespace

TextTable::TextTable(std::string path, Format format) : path_(std::move(path)), format_(format) {}

TextTable TextTable::Of(std::string text, Format format) {
  TextTable table("", format);
  table.text_ = std::move(text);
  table.FindPlaces();
  return table;
}

std::optional<Entry> TextTable::Find(const std::string& key) {
  if (!is_read_) Read();
  const std::string wanted = LowerCase(key);
  const std::uint32_t hash = Hash(wanted);
  auto place =
      std::lower_bound(places_.begin(), places_.end(), hash,
                       [](const Place& one, std::uint32_t that) { return one.hash < that; });
  std::optional<Entry> first;
  for (; place != places_.end() && place->hash == hash; ++place) {
    if (KeyOf(LineAt(text_, place->offset), format_) != wanted) continue;
    std::optional<Entry> entry = EntryAt(*place);
    if (!entry) continue;
    if (first) {
      first->ignored.push_back(entry->line);
    } else {
      first = std::move(entry);
    }
  }
  return first;
}

std::vector<Repeat> TextTable::FindRepeats() {
  if (!is_read_) Read();
  std::vector<Repeat> repeats;
  for (auto begin = places_.begin(); begin != places_.end();) {
    const auto end = std::find_if(
        begin, places_.end(), [hash = begin->hash](const Place& one) { return one.hash != hash; });
    if (end - begin > 1) AddRepeats({begin, end}, repeats);
    begin = end;
  }
  std::sort(repeats.begin(), repeats.end(),
            [](const Repeat& left, const Repeat& right) { return left.line < right.line; });
  return repeats;
}

void TextTable::ForEach(
    const std::function<void(const std::string& key, const std::string& value)>& visit) {
  std::unordered_set<std::size_t> repeats;
  for (const Repeat& repeat : FindRepeats()) repeats.insert(repeat.offset);
  for (const Place& place : places_) {
    if (repeats.contains(place.offset)) continue;
    const std::optional<Entry> entry = EntryAt(place);
    if (entry) visit(KeyOf(LineAt(text_, place.offset), format_), entry->value);
  }
}

/// Adds the repeats among `places`, which have one hash.
void TextTable::AddRepeats(std::span<const Place> places, std::vector<Repeat>& repeats) const {
  std::map<std::string, std::size_t> first_lines;
  for (const Place& place : places) {
    if (!EntryAt(place)) continue;
    std::string key = KeyOf(LineAt(text_, place.offset), format_);
    const auto [first, is_new] = first_lines.emplace(key, place.line);
    if (!is_new) repeats.push_back({place.line, place.offset, first->second, std::move(key)});
  }
}

std::vector<Oddity> TextTable::FindOddities() {
  if (!is_read_) Read();
  std::vector<Oddity> oddities;
  if (orphan_) oddities.push_back(*orphan_);
  for (const Place& place : doubtful_) {
    const std::optional<Oddity::Kind> kind = OddityAt(place);
    if (!kind) continue;
    oddities.push_back(
        {*kind, place.line, place.offset, KeyOf(LineAt(text_, place.offset), format_)});
  }
  return oddities;
}

void TextTable::Read() {
  text_ = conf::ReadWholeFile(path_).bytes;
  FindPlaces();
}

void TextTable::FindPlaces() {
  std::uint32_t number = 1;
  for (std::size_t offset = 0; offset < text_.size(); ++number) {
    const std::string_view line = LineAt(text_, offset);
    if (!IsSkipped(line)) {
      if (IsBlank(line.front())) {
        NoteContinuation(number, offset);
      } else {
        AddPlace(line, number, offset);
      }
    }
    offset += line.size() + 1;
  }
  std::sort(places_.begin(), places_.end(), [](const Place& left, const Place& right) {
    return std::tie(left.hash, left.offset) < std::tie(right.hash, right.offset);
  });
  is_read_ = true;
}

void TextTable::AddPlace(std::string_view line, std::uint32_t number, std::size_t offset) {
  const std::string_view plain = format_ == Format::kPostmap ? PlainKey(line) : "";
  const std::uint32_t hash = plain.empty() ? Hash(KeyOf(line, format_)) : Hash(plain);
  places_.push_back({hash, number, offset});
  if (plain.empty()) doubtful_.push_back(places_.back());
}

void TextTable::NoteContinuation(std::uint32_t number, std::size_t offset) {
  if (places_.empty()) {
    if (!orphan_) orphan_ = Oddity{Oddity::Kind::kContinuesNothing, number, offset, ""};
  } else if (doubtful_.empty() || doubtful_.back().offset != places_.back().offset) {
    doubtful_.push_back(places_.back());
  }
}

/// Where the next line begins that means something; the size of the text when there is none.
std::size_t TextTable::NextLine(std::size_t offset) const {
  do {
    offset += LineAt(text_, offset).size() + 1;
  } while (offset < text_.size() && IsSkipped(LineAt(text_, offset)));
  return std::min(offset, text_.size());
}

/// Comments and empty lines between a line and its continuations do not end it.
bool TextTable::IsContinued(std::size_t offset) const {
  const std::size_t next = NextLine(offset);
  return next < text_.size() && IsBlank(text_[next]);
}

/// The line with its continuations. A NUL ends it for Postfix.
std::string TextTable::LogicalLine(std::size_t offset) const {
  std::string logical(LineAt(text_, offset));
  while (IsContinued(offset)) {
    offset = NextLine(offset);
    logical += LineAt(text_, offset);
  }
  return logical.substr(0, logical.find('\0'));
}

/// Nothing for a line that postmap or postalias skips with a warning.
std::optional<Entry> TextTable::EntryAt(const Place& place) const {
  const std::string line = LogicalLine(place.offset);
  const std::size_t end = KeyEnd(line, format_);
  if (end == line.size() || !IsUtf8(line)) return std::nullopt;  // Postfix skips what is no UTF-8
  const std::string_view key = Trimmed(std::string_view(line).substr(0, end));
  const std::string_view value = Trimmed(std::string_view(line).substr(end + 1));
  if (key.empty() || value.empty()) return std::nullopt;
  const bool is_local = FindUnquoted(key, [](char one) { return one == '@'; }) == key.size();
  if (format_ == Format::kPostalias && !is_local) return std::nullopt;
  return Entry{place.line, std::string(key), std::string(value), {}};
}

std::optional<Oddity::Kind> TextTable::OddityAt(const Place& place) const {
  const std::string_view line = LineAt(text_, place.offset);
  const std::optional<Entry> entry = EntryAt(place);
  if (!entry) return Oddity::Kind::kNoEntry;
  if (line.find('\0') != std::string_view::npos) return Oddity::Kind::kNul;
  if (IsContinued(place.offset)) return Oddity::Kind::kContinued;
  if (entry->key != KeyOf(line, format_) || entry->key.find('"') != std::string::npos) {
    return Oddity::Kind::kOtherSpelling;
  }
  if (entry->value.find(" #") != std::string::npos ||
      entry->value.find("\t#") != std::string::npos) {
    return Oddity::Kind::kComment;
  }
  return std::nullopt;
}

}  // namespace panel::mail
