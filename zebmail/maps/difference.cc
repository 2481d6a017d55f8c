/// NAME
///   difference - in which lines two texts differ
///
/// HOW
///   What is the same at the beginning and at the end is passed over by comparing memory. In
///   between, the texts are walked along together: where they part, the nearest line that both have
///   is looked for, first among few lines, then among more and more. That need not give the fewest
///   lines possible; it gives lines outside of which nothing differs.

#include "zebmail/maps/difference.h"

#include <algorithm>
#include <cstring>
#include <unordered_map>

#include "zebmail/maps/text_line.h"

namespace zebmail::maps {
namespace {

constexpr std::size_t kBlock = 4096;
constexpr std::size_t kFirstWindow = 16;

bool IsLineStart(std::string_view text, std::size_t position) {
  return position == 0 || text[position - 1] == '\n';
}

std::size_t LineStart(std::string_view text, std::size_t position) {
  const std::size_t newline = text.substr(0, position).rfind('\n');
  return newline == std::string_view::npos ? 0 : newline + 1;
}

/// How many bytes at the end are the same.
std::size_t CommonEnd(std::string_view one, std::string_view other) {
  const std::size_t most = std::min(one.size(), other.size());
  std::size_t same = 0;
  const auto block_from_end = [&same](std::string_view text) {
    return text.data() + text.size() - same - kBlock;
  };
  while (most - same >= kBlock &&
         std::memcmp(block_from_end(one), block_from_end(other), kBlock) == 0) {
    same += kBlock;
  }
  while (same < most && one[one.size() - same - 1] == other[other.size() - same - 1]) ++same;
  return same;
}

/// How many bytes of the common end of both are whole lines in both.
std::size_t CommonLastLines(std::string_view one, std::string_view other) {
  const std::size_t same = CommonEnd(one, other);
  if (same == 0 || (IsLineStart(one, one.size() - same) && IsLineStart(other, other.size() - same)))
    return same;
  const std::size_t newline = one.find('\n', one.size() - same);
  return newline == std::string_view::npos ? 0 : one.size() - newline - 1;
}

/// The beginnings of the next lines of a text, and at last its end.
class Window {
 public:
  explicit Window(std::string_view text) : text_(text), begins_{0} {}

  /// Looks at `count` lines, or as many as there are.
  void Extend(std::size_t count) {
    while (begins_.size() <= count && begins_.back() < text_.size()) {
      begins_.push_back(begins_.back() + LineAt(text_, begins_.back()).size());
    }
  }

  std::size_t size() const { return begins_.size() - 1; }
  bool IsWhole() const { return begins_.back() == text_.size(); }
  std::size_t Begin(std::size_t index) const { return begins_[index]; }
  std::string_view Line(std::size_t index) const {
    return text_.substr(begins_[index], begins_[index + 1] - begins_[index]);
  }

 private:
  std::string_view text_;
  std::vector<std::size_t> begins_;
};

/// A number of lines of the one text, and one of the other.
struct Parting {
  std::size_t before;
  std::size_t after;
};

/// How many lines come before the nearest one that both windows have.
std::optional<Parting> FindCommonLine(const Window& before, const Window& after) {
  std::unordered_map<std::string_view, std::size_t> places;
  for (std::size_t index = 0; index < after.size(); ++index) {
    places.emplace(after.Line(index), index);
  }
  std::optional<Parting> nearest;
  for (std::size_t index = 0; index < before.size(); ++index) {
    if (nearest && index >= nearest->before + nearest->after) break;
    const auto place = places.find(before.Line(index));
    if (place == places.end()) continue;
    if (!nearest || index + place->second < nearest->before + nearest->after) {
      nearest = {index, place->second};
    }
  }
  return nearest;
}

/// Where two texts that part at their beginning meet again, as an offset in each.
std::optional<Parting> FindMeeting(std::string_view before, std::string_view after,
                                   std::size_t most, std::size_t& lines) {
  Window window_before(before);
  Window window_after(after);
  for (std::size_t size = kFirstWindow;; size *= kFirstWindow) {
    window_before.Extend(size);
    window_after.Extend(size);
    std::optional<Parting> parting = FindCommonLine(window_before, window_after);
    if (!parting && window_before.IsWhole() && window_after.IsWhole()) {
      parting = {window_before.size(), window_after.size()};
    }
    if (parting) {
      lines += parting->before + parting->after;
      return Parting{window_before.Begin(parting->before), window_after.Begin(parting->after)};
    }
    if (size > most) return std::nullopt;
  }
}

}  // namespace

std::size_t CommonBeginning(std::string_view one, std::string_view other) {
  const std::size_t most = std::min(one.size(), other.size());
  std::size_t same = 0;
  while (most - same >= kBlock && std::memcmp(one.data() + same, other.data() + same, kBlock) == 0)
    same += kBlock;
  while (same < most && one[same] == other[same]) ++same;
  return same;
}

std::optional<std::vector<Difference>> FindDifferences(std::string_view before,
                                                       std::string_view after, std::size_t most) {
  std::vector<Difference> differences;
  if (before == after) return differences;
  std::size_t in_before = LineStart(before, CommonBeginning(before, after));
  std::size_t in_after = in_before;
  const std::size_t end = CommonLastLines(before.substr(in_before), after.substr(in_after));
  before.remove_suffix(end);
  after.remove_suffix(end);

  std::size_t lines = 0;
  while (in_before < before.size() || in_after < after.size()) {
    const auto meeting = FindMeeting(before.substr(in_before), after.substr(in_after), most, lines);
    if (!meeting || lines > most) return std::nullopt;
    differences.push_back(
        {{in_before, in_before + meeting->before}, {in_after, in_after + meeting->after}});
    in_before += meeting->before;
    in_after += meeting->after;

    const std::string_view rest = after.substr(in_after);
    std::size_t same = CommonBeginning(before.substr(in_before), rest);
    const bool is_at_end = same == rest.size() && in_before + same == before.size();
    if (!is_at_end) same = LineStart(rest, same);
    in_before += same;
    in_after += same;
  }
  return differences;
}

}  // namespace zebmail::maps
