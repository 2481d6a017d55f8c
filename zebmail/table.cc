/// NAME
///   table - columns that a person reads

#include "zebmail/table.h"

#include <algorithm>
#include <numeric>
#include <optional>
#include <string_view>
#include <utility>

#include <uniwidth.h>

#include "panel/text/control_characters.h"

namespace zebmail {
namespace {

using Widths = std::vector<std::size_t>;

/// Between two columns.
constexpr std::size_t kGap = 2;

/// A folded column is no narrower, so that most words stay whole.
constexpr std::size_t kNarrowest = 12;

/// How many columns of a terminal `text` takes: some characters take two, and marks that are put
/// onto the one before them none.
std::size_t Width(std::string_view text) {
  const auto* const bytes = reinterpret_cast<const uint8_t*>(text.data());
  return static_cast<std::size_t>(u8_width(bytes, text.size(), "UTF-8"));
}

Widths WidthsOf(const std::vector<Row>& rows) {
  Widths widths(rows.front().size());
  for (const Row& row : rows) {
    for (std::size_t column = 0; column < row.size(); ++column) {
      widths[column] = std::max(widths[column], Width(row[column].text));
    }
  }
  return widths;
}

std::size_t WidthOfLine(const Widths& widths) {
  return std::accumulate(widths.begin(), widths.end(), kGap * (widths.size() - 1));
}

/// Narrower widths, for lines no longer than `room`: a column that is wider than its share of what
/// the narrower ones leave gets that share. Nothing when a share is too small.
std::optional<Widths> Narrowed(Widths widths, std::size_t room) {
  const std::size_t fixed = widths.front() + kGap * (widths.size() - 1);
  if (fixed > room) return std::nullopt;
  room -= fixed;

  std::vector<std::size_t*> narrow_first;
  for (auto width = widths.begin() + 1; width != widths.end(); ++width) {
    narrow_first.push_back(&*width);
  }
  std::sort(narrow_first.begin(), narrow_first.end(),
            [](const auto* left, const auto* right) { return *left < *right; });
  std::size_t left = narrow_first.size();
  for (std::size_t* const width : narrow_first) {
    const std::size_t share = room / left--;
    if (share < std::min(*width, kNarrowest)) return std::nullopt;
    *width = std::min(*width, share);
    room -= *width;
  }
  return widths;
}

/// Takes as much from the beginning of `text` as goes into `width` columns, one character at least.
std::string TakePiece(std::string_view& text, std::size_t width) {
  std::string piece;
  std::size_t taken = 0;
  for (std::string_view rest = text; !rest.empty(); text = rest) {
    const std::string_view bytes = panel::TakeGlyph(rest).bytes;
    taken += Width(bytes);
    if (!piece.empty() && taken > width) break;
    piece += bytes;
  }
  return piece;
}

/// `text` in pieces of at most `width` columns. It breaks at blanks, which go; a word that is
/// longer breaks anywhere.
std::vector<std::string> Fold(std::string_view text, std::size_t width) {
  if (Width(text) <= width) return {std::string(text)};
  std::vector<std::string> pieces;
  std::size_t filled = 0;  // columns of the last piece
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(' '), text.size());
    std::string_view word = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    const std::size_t needed = 1 + Width(word);
    if (!pieces.empty() && filled + needed <= width) {
      pieces.back() += " " + std::string(word);
      filled += needed;
      continue;
    }
    do pieces.push_back(TakePiece(word, width));
    while (!word.empty());
    filled = Width(pieces.back());
  }
  return pieces;
}

/// A row, over as many lines as its tallest cell takes.
std::string InColumns(const Row& row, const Widths& widths) {
  std::vector<std::vector<std::string>> cells;
  std::size_t height = 0;
  for (std::size_t column = 0; column < row.size(); ++column) {
    cells.push_back(Fold(row[column].text, widths[column]));
    height = std::max(height, cells.back().size());
  }
  std::string text;
  for (std::size_t line = 0; line < height; ++line) {
    std::size_t blanks = 0;
    for (std::size_t column = 0; column < row.size(); ++column) {
      const std::string piece = line < cells[column].size() ? cells[column][line] : "";
      if (!piece.empty()) {
        text += std::string(blanks, ' ') + Styled(row[column].style, piece);
        blanks = 0;
      }
      blanks += widths[column] - Width(piece) + kGap;
    }
    text += "\n";
  }
  return text;
}

/// A row as lines "HEADING: value". The terminal breaks those that are too long, so that they can
/// be copied whole.
std::string InBlock(const Row& headings, const Row& row) {
  std::string text;
  for (std::size_t column = 0; column < row.size(); ++column) {
    text += Styled(Style::kHeading, headings[column].text + ":") + " " +
            Styled(row[column].style, row[column].text) + "\n";
  }
  return text;
}

std::string InBlocks(const std::vector<Row>& rows) {
  std::string text;
  for (auto row = rows.begin() + 1; row != rows.end(); ++row) {
    text += (text.empty() ? "" : "\n") + InBlock(rows.front(), *row);
  }
  return text;
}

}  // namespace

Cell::Cell(std::string the_text, Style the_style) : text(std::move(the_text)), style(the_style) {}
Cell::Cell(const char* the_text) : Cell(std::string(the_text)) {}

std::string Align(const std::vector<Row>& rows) {
  Widths widths = WidthsOf(rows);
  const std::optional<std::size_t> room = TerminalWidth();
  if (room && WidthOfLine(widths) > *room) {
    const std::optional<Widths> narrowed = Narrowed(widths, *room);
    if (!narrowed) return InBlocks(rows);
    widths = *narrowed;
  }
  Row headings = rows.front();
  for (Cell& heading : headings) heading.style = Style::kHeading;
  std::string text = InColumns(headings, widths);
  for (auto row = rows.begin() + 1; row != rows.end(); ++row) text += InColumns(*row, widths);
  return text;
}

}  // namespace zebmail
