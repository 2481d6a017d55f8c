/// NAME
///   table - columns that a person reads
///
/// PURPOSE
///   The lines of a list, in columns as wide as what stands in them. On a terminal the lines are no
///   longer than it is wide: columns that take too much room are folded, and where even that does
///   not do, each row becomes a block of "HEADING: value" lines. Nothing is ever cut off. Through a
///   pipe a row is one line, however long.

#pragma once

#include <string>
#include <vector>

#include "zebmail/style.h"

namespace zebmail {

/// A text of one line without control characters.
struct Cell {
  Cell(std::string the_text, Style the_style = Style::kPlain);
  Cell(const char* the_text);

  std::string text;
  Style style;
};

/// The cells of a table, row by row; the first row holds the headings.
using Row = std::vector<Cell>;

/// `rows` with the columns two blanks apart and no blanks at the ends of lines. The first column,
/// by which a row is known, is never folded.
std::string Align(const std::vector<Row>& rows);

}  // namespace zebmail
