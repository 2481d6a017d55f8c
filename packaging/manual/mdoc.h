/// NAME
///   mdoc - texts in the language of manual pages, mdoc(7)

#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace manual {

/// Plain text as the lines of a page: each sentence begins a line of its own, and nothing in it is
/// taken for an order to the formatter. Paragraphs have an empty line between them.
std::string Prose(std::string_view text);

/// The text with its first letter in upper case.
std::string Capitalised(std::string_view text);

/// A line that a program says of itself, such as "print this", as a sentence.
std::string Sentence(std::string_view line);

/// Lines as they are, indented.
std::string Literal(const std::vector<std::string>& lines);

/// A word behind a macro.
std::string Word(std::string_view word);

}  // namespace manual
