/// NAME
///   text_table - a text table as postmap(1) or postalias(1) reads it
///
/// PURPOSE
///   Tells what Postfix would find for a key if its map were built of the present text. Other than
///   the back-end, which reads lines by themselves, this reads what Postfix reads: a line that
///   begins with a blank continues the one before, "#" begins a comment at the beginning of a line
///   only, keys match in any case of letters, and of several entries with one key the first counts.
///
/// COST
///   The file is read when the first key is asked for, in one pass that notes where the keys stand.

#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace panel::mail {

enum class Format {
  kPostmap,    ///< key, blank, value
  kPostalias,  ///< key, ":", value
};

/// What stands for a key.
struct Entry {
  std::size_t line = 0;
  std::string key;                   ///< as it stands there
  std::string value;                 ///< with continuation lines, without the blanks around it
  std::vector<std::size_t> ignored;  ///< the lines of further entries with this key
};

/// An entry whose key an earlier one has, so that Postfix ignores it.
struct Repeat {
  std::size_t line = 0;
  std::size_t offset = 0;  ///< of the line in the file
  std::size_t first = 0;   ///< the line that counts
  std::string key;         ///< in lower case
};

/// A line that is not just an entry.
struct Oddity {
  enum class Kind {
    kNoEntry,           ///< Postfix skips it
    kNul,               ///< it holds a NUL, behind which Postfix reads nothing
    kContinued,         ///< the lines below continue it
    kOtherSpelling,     ///< its key has capital letters or quotes
    kComment,           ///< a "#" stands behind the value, of which it is a part for Postfix
    kContinuesNothing,  ///< it begins with a blank, and no entry stands above
  };

  Kind kind;
  std::size_t line = 0;
  std::size_t offset = 0;  ///< of the line in the file
  std::string key;         ///< in lower case; empty for a line that continues nothing
};

class TextTable {
 public:
  TextTable(std::string path, Format format);

  /// The table of a text that was read already; it has no path.
  static TextTable Of(std::string text, Format format);

  const std::string& path() const noexcept { return path_; }

  /// The text, without which nothing can be found any more.
  std::string TakeText() && { return std::move(text_); }

  /// Throws fen_err::Error("file", path, why) when the file cannot be read; one that does not exist
  /// holds nothing.
  std::optional<Entry> Find(const std::string& key);

  /// Calls `visit` with the key, as Postfix looks it up, and the value of each entry that counts,
  /// in no particular order.
  void ForEach(const std::function<void(const std::string& key, const std::string& value)>& visit);

  /// All entries that repeat another, in the order of their lines.
  std::vector<Repeat> FindRepeats();

  /// All lines that are not just an entry, in their order.
  std::vector<Oddity> FindOddities();

 private:
  /// Where an entry begins.
  struct Place {
    std::uint32_t hash;
    std::uint32_t line;
    std::size_t offset;
  };

  void Read();
  void FindPlaces();
  void AddPlace(std::string_view line, std::uint32_t number, std::size_t offset);
  void NoteContinuation(std::uint32_t number, std::size_t offset);
  std::size_t NextLine(std::size_t offset) const;
  bool IsContinued(std::size_t offset) const;
  std::string LogicalLine(std::size_t offset) const;
  std::optional<Entry> EntryAt(const Place& place) const;
  std::optional<Oddity::Kind> OddityAt(const Place& place) const;
  void AddRepeats(std::span<const Place> places, std::vector<Repeat>& repeats) const;

  std::string path_;
  Format format_;
  bool is_read_ = false;
  std::string text_;
  std::optional<Oddity> orphan_;  ///< the first line that continues nothing
  std::vector<Place> places_;     ///< in the order of their hashes, then of the text
  std::vector<Place> doubtful_;   ///< those that may be odd, in the order of the text
};

}  // namespace panel::mail
