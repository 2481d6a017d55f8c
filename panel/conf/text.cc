/// NAME
///   text - the lines of a file that is being edited

#include "panel/conf/text.h"

#include <algorithm>
#include <utility>

#include "host/fen_err.h"

namespace panel::conf {

namespace {

constexpr std::string_view kBlanks = " \t\n\v\f\r";

/// Whether Postfix passes over the line as if it were not there.
bool IsBlankOrComment(std::string_view line) {
  const std::size_t text = line.find_first_not_of(kBlanks);
  return text == std::string_view::npos || line[text] == '#';
}

bool IsContinuation(std::string_view line) {
  return !IsBlankOrComment(line) && kBlanks.find(line.front()) != std::string_view::npos;
}

}  // namespace

Text::Text(std::string read) : read_(std::move(read)) {
  if (read_.size() >> (LineId::kBits - 1) != 0) {
    throw fen_err::Error("file", std::to_string(read_.size()), "too large for a table");
  }
}

LineId Text::First() const {
  return FirstAt(0);
}

LineId Text::Next(LineId line) const {
  if (line.IsAdded()) {
    const AddedLine& added = added_[line.number()];
    return FirstAdded(added.next, added.anchor);
  }
  const Edit* edit = FindEdit(line.offset());
  return FirstAdded(edit == nullptr ? kNoLine : edit->below, line.offset());
}

std::string_view Text::Line(LineId line) const {
  if (line.IsAdded()) return added_[line.number()].text;
  const Edit* edit = FindEdit(line.offset());
  if (edit != nullptr && edit->text) return *edit->text;
  return std::string_view(read_).substr(line.offset(), EndOfRead(line.offset()) - line.offset());
}

bool Text::IsIn(LineId line) const {
  if (line.IsAdded()) return !added_[line.number()].removed;
  const Edit* edit = FindEdit(line.offset());
  return edit == nullptr || !edit->removed;
}

bool Text::IsBefore(LineId left, LineId right) const {
  const auto anchor = [this](LineId line) {
    return line.IsAdded() ? added_[line.number()].anchor : line.offset();
  };
  if (anchor(left) != anchor(right)) return anchor(left) < anchor(right);
  if (!left.IsAdded() || !right.IsAdded()) return right.IsAdded();
  std::size_t number = added_[left.number()].next;
  while (number != kNoLine && number != right.number()) number = added_[number].next;
  return number != kNoLine;
}

void Text::Replace(LineId line, std::string text) {
  ++changes_;
  if (line.IsAdded()) {
    added_[line.number()].text = std::move(text);
  } else {
    edits_[line.offset()].text = std::move(text);
  }
}

void Text::Remove(LineId line) {
  ++changes_;
  if (line.IsAdded()) {
    added_[line.number()].removed = true;
  } else {
    edits_[line.offset()].removed = true;
  }
}

LineId Text::InsertBelow(LineId line, std::string text) {
  if (!line.IsAdded()) {
    if (EndOfRead(line.offset()) == read_.size()) EndLastLine();
    std::size_t& below = edits_[line.offset()].below;
    below = Add(std::move(text), line.offset(), below);
    return LineId::Added(below);
  }
  const AddedLine& above = added_[line.number()];
  const std::size_t number = Add(std::move(text), above.anchor, above.next);
  added_[line.number()].next = number;
  if (last_appended_ == line.number()) last_appended_ = number;
  return LineId::Added(number);
}

LineId Text::Append(std::string text) {
  if (last_appended_ != kNoLine) return InsertBelow(LineId::Added(last_appended_), std::move(text));
  EndLastLine();
  last_appended_ = Add(std::move(text), read_.size(), kNoLine);
  edits_[read_.size()].below = last_appended_;
  return LineId::Added(last_appended_);
}

LineId Text::LastOf(LineId line) const {
  LineId last = line;
  for (LineId next = Next(line); !next.IsNone(); next = Next(next)) {
    if (IsContinuation(Line(next))) {
      last = next;
    } else if (!IsBlankOrComment(Line(next))) {
      break;
    }
  }
  return last;
}

void Text::RemoveWithContinuations(LineId line) {
  const LineId last = LastOf(line);
  Remove(line);
  while (line != last) {
    line = Next(line);
    if (IsContinuation(Line(line))) Remove(line);
  }
}

bool Text::IsAsRead(std::size_t offset) const {
  const Edit* edit = FindEdit(offset);
  return edit == nullptr || (!edit->removed && !edit->text);
}

void Text::VisitEdited(const std::function<void(LineId)>& visit) const {
  for (const auto& [offset, edit] : edits_) {
    if (edit.text && !edit.removed) visit(LineId::Read(offset));
  }
  for (std::size_t number = 0; number < added_.size(); ++number) {
    if (!added_[number].removed) visit(LineId::Added(number));
  }
}

bool Text::IsWholeAsRead() const {
  const std::string_view read = read_;
  std::size_t place = 0;
  bool is_same = true;
  Write([&](std::string_view piece) {
    const bool is_piece_of_read = piece.data() == read.data() + place;
    is_same = is_same && place <= read.size() &&
              (is_piece_of_read || read.substr(place, piece.size()) == piece);
    place += piece.size();
  });
  return is_same && place == read.size();
}

void Text::Write(const std::function<void(std::string_view)>& write) const {
  std::vector<std::size_t> offsets;
  offsets.reserve(edits_.size());
  for (const auto& [offset, edit] : edits_) offsets.push_back(offset);
  std::sort(offsets.begin(), offsets.end());

  const std::string_view read = read_;
  std::size_t written = 0;
  for (const std::size_t offset : offsets) {
    const Edit& edit = edits_.at(offset);
    write(read.substr(written, offset - written));
    written = EndOfRead(offset);
    if (!edit.removed) {
      write(edit.text ? std::string_view(*edit.text) : read.substr(offset, written - offset));
    }
    for (std::size_t number = edit.below; number != kNoLine; number = added_[number].next) {
      if (!added_[number].removed) write(added_[number].text);
    }
  }
  write(read.substr(written));
}

const Text::Edit* Text::FindEdit(std::size_t offset) const {
  const auto found = edits_.find(offset);
  return found == edits_.end() ? nullptr : &found->second;
}

/// Where the line that was read at `offset` ends: behind its line feed, or with the buffer.
std::size_t Text::EndOfRead(std::size_t offset) const {
  const std::size_t line_feed = read_.find('\n', offset);
  return line_feed == std::string::npos ? read_.size() : line_feed + 1;
}

/// The first line in the file from the place of the line read at `offset` on.
LineId Text::FirstAt(std::size_t offset) const {
  const Edit* edit = FindEdit(offset);
  if (offset < read_.size() && (edit == nullptr || !edit->removed)) return LineId::Read(offset);
  return FirstAdded(edit == nullptr ? kNoLine : edit->below, offset);
}

/// The first line in the file from the added line `number` on, which stands below the line read at
/// `anchor`. A loop rather than a recursion, since any number of lines may have been taken out.
LineId Text::FirstAdded(std::size_t number, std::size_t anchor) const {
  for (;;) {
    for (; number != kNoLine; number = added_[number].next) {
      if (!added_[number].removed) return LineId::Added(number);
    }
    if (anchor == read_.size()) return LineId();
    anchor = EndOfRead(anchor);
    const Edit* edit = FindEdit(anchor);
    if (anchor < read_.size() && (edit == nullptr || !edit->removed)) return LineId::Read(anchor);
    number = edit == nullptr ? kNoLine : edit->below;
  }
}

std::size_t Text::Add(std::string text, std::size_t anchor, std::size_t next) {
  ++changes_;
  added_.push_back({std::move(text), anchor, next, false});
  return added_.size() - 1;
}

/// A line that comes behind the last one must not be glued to it.
void Text::EndLastLine() {
  if (read_.empty() || read_.back() == '\n') return;
  const LineId last = LineId::Read(read_.rfind('\n') + 1);
  if (IsIn(last) && !Line(last).ends_with('\n')) Replace(last, std::string(Line(last)) + "\n");
}

}  // namespace panel::conf
