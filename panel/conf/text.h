/// NAME
///   text - the lines of a file that is being edited
///
/// PURPOSE
///   Holds a file as the one buffer that was read, and beside it only the lines that were put in,
///   replaced or taken out since. A line has an identity that lasts while other lines come and go,
///   so a cursor or an index can keep it. A file of a million lines costs its bytes and nothing for
///   each line; a change costs the same in a large file as in a small one.

#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace panel::conf {

/// The identity of a line: the offset of a line that was read, or the number of an added one.
class LineId {
 public:
  LineId() = default;

  static LineId Read(std::size_t offset) { return LineId(offset); }
  static LineId Added(std::size_t number) { return LineId(kAdded | number); }

  /// The forty bits that identify the line, for an index that packs them.
  static LineId FromBits(std::uint64_t bits) { return LineId(bits); }
  std::uint64_t bits() const { return bits_; }

  bool IsNone() const { return bits_ == kNone; }
  bool IsAdded() const { return (bits_ & kAdded) != 0; }
  std::size_t offset() const { return bits_; }
  std::size_t number() const { return bits_ & ~kAdded; }

  bool operator==(const LineId&) const = default;

  static constexpr unsigned kBits = 40;

 private:
  explicit LineId(std::uint64_t bits) : bits_(bits) {}

  static constexpr std::uint64_t kAdded = std::uint64_t{1} << (kBits - 1);
  static constexpr std::uint64_t kNone = (std::uint64_t{1} << kBits) - 1;

  std::uint64_t bits_ = kNone;
};

class Text {
 public:
  /// Takes the bytes of a file. Throws fen_err::Error("file", ...) for one of 512 GiB or more.
  explicit Text(std::string read);

  /// The first line, and the one behind `line`, which may have been taken out meanwhile; none at
  /// the end.
  LineId First() const;
  LineId Next(LineId line) const;

  /// The line's text with its line end. Valid until the line is changed.
  std::string_view Line(LineId line) const;

  bool IsIn(LineId line) const;

  /// Whether `left` stands before `right`.
  bool IsBefore(LineId left, LineId right) const;

  void Replace(LineId line, std::string text);
  void Remove(LineId line);

  /// Put in a line, ending in a line feed, directly below `line`, or at the end. A last line that
  /// has no line feed gets one.
  LineId InsertBelow(LineId line, std::string text);
  LineId Append(std::string text);

  /// The last of the continuation lines that Postfix reads as part of `line`, or `line` itself.
  /// Comments and blank lines between them do not end a record, but do not belong to it either.
  LineId LastOf(LineId line) const;

  /// Takes out `line` and its continuation lines.
  void RemoveWithContinuations(LineId line);

  /// The bytes that were read, in which a search may look for lines; IsAsRead tells whether the
  /// line found at `offset` still is what the file says.
  std::string_view read() const { return read_; }
  bool IsAsRead(std::size_t offset) const;

  /// Calls `visit` with every line that was replaced or added and is in the file, in no order.
  void VisitEdited(const std::function<void(LineId)>& visit) const;
  std::size_t edited() const { return edits_.size() + added_.size(); }

  /// How many changes have been made. As long as it stays the same, so does every line.
  std::size_t changes() const { return changes_; }

  /// Whether the whole text is what was read: lines that were changed may have been changed back.
  bool IsWholeAsRead() const;

  /// Calls `write` with the pieces of the whole text, one after the other.
  void Write(const std::function<void(std::string_view)>& write) const;

 private:
  static constexpr std::size_t kNoLine = static_cast<std::size_t>(-1);

  /// What happened to the line at an offset of the buffer, and to the place below it. The offset
  /// behind the last byte stands for the place at the end.
  struct Edit {
    bool removed = false;
    std::optional<std::string> text;
    std::size_t below = kNoLine;
  };

  struct AddedLine {
    std::string text;
    std::size_t anchor = 0;
    std::size_t next = kNoLine;
    bool removed = false;
  };

  const Edit* FindEdit(std::size_t offset) const;
  std::size_t EndOfRead(std::size_t offset) const;
  LineId FirstAt(std::size_t offset) const;
  LineId FirstAdded(std::size_t number, std::size_t anchor) const;
  std::size_t Add(std::string text, std::size_t anchor, std::size_t next);
  void EndLastLine();

  std::string read_;
  std::unordered_map<std::size_t, Edit> edits_;
  std::deque<AddedLine> added_;
  std::size_t last_appended_ = kNoLine;
  std::size_t changes_ = 0;
};

}  // namespace panel::conf
