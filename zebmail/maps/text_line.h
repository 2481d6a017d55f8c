/// NAME
///   text_line - what one line of a table is to postmap(1) or postalias(1)
///
/// PURPOSE
///   A map is changed without its whole text being read again only where each line is certain to
///   mean the same to Postfix and to this program. So a plain entry is described narrowly: a key of
///   printable ASCII without quotes or backslashes, and a value. Everything that Postfix reads in a
///   way of its own, warns of or leaves out is odd.

#pragma once

#include <string>
#include <string_view>

#include "zebmail/maps/arguments.h"

namespace zebmail::maps {

enum class LineKind {
  kNothing,       ///< blank, or a comment
  kContinuation,  ///< belongs to the entry above
  kEntry,
  kOdd
};

struct TextLine {
  LineKind kind;
  std::string_view key;  ///< of an entry, as it is written
};

/// `line` with its newline or without.
TextLine ReadLine(std::string_view line, Format format);

/// The key of a line that is not odd; empty when it is no entry. Quick, for walks over the whole
/// text.
std::string_view KeyOf(std::string_view line, Format format);

/// The key as Postfix keeps it: maps in files fold their keys to lower case.
std::string Folded(std::string_view key);

/// The line that begins at `begin`, with its newline.
std::string_view LineAt(std::string_view text, std::size_t begin);

/// What is odd in the text, for an administrator to read; empty when it has none but blank lines,
/// comments, plain entries and their continuations.
std::string FindOddity(std::string_view text, Format format);

}  // namespace zebmail::maps
