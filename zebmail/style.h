/// NAME
///   style - what a terminal shows in another way, and how wide it is
///
/// PURPOSE
///   Colours help a reader, and spoil what a program reads. So a text is in a style only where its
///   stream is a terminal that knows colours, and NO_COLOR is unset or empty. The text must have
///   its own control characters escaped: then nothing in it can end the style or begin another.

#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace zebmail {

enum class Style {
  kPlain,
  kHeading,
  kGood,
  kNotice,  ///< worth a second look, but nothing that failed
  kBad,
};

/// `text` in `style`, as it is printed to standard output.
std::string Styled(Style style, const std::string& text);

/// The same for standard error.
std::string StyledError(Style style, const std::string& text);

/// How many columns the terminal has that standard output is; nothing when it is none.
std::optional<std::size_t> TerminalWidth();

}  // namespace zebmail
