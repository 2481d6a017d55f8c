/// NAME
///   mdoc - texts in the language of manual pages, mdoc(7)

#include "packaging/manual/mdoc.h"

#include <cctype>
#include <sstream>

namespace manual {
namespace {

/// What is to be copied must have hyphens that are hyphens: formatters print another sign for those
/// of words.
bool IsToCopy(std::string_view word) {
  return word.starts_with("--") || word.find_first_of("/_@=") != std::string_view::npos;
}

std::string Escaped(std::string_view text, bool is_to_copy) {
  std::string escaped;
  for (const char character : text) {
    if (character == '\\') {
      escaped += "\\e";
    } else if (character == '-' && is_to_copy) {
      escaped += "\\-";
    } else {
      escaped += character;
    }
  }
  return escaped;
}

/// A line of text that begins like an order is none with this before it.
std::string Guarded(const std::string& line) {
  const bool is_order = line.starts_with('.') || line.starts_with('\'');
  return is_order ? "\\&" + line : line;
}

bool EndsSentence(std::string_view word) {
  return word.ends_with('.') && !word.ends_with("..");
}

std::string Paragraph(const std::string& text) {
  std::string lines;
  std::string line;
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    line += (line.empty() ? "" : " ") + Escaped(word, IsToCopy(word));
    if (!EndsSentence(word)) continue;
    lines += Guarded(line) + "\n";
    line.clear();
  }
  return line.empty() ? lines : lines + Guarded(line) + "\n";
}

}  // namespace

std::string Prose(std::string_view text) {
  std::string lines;
  std::string paragraph;
  std::istringstream source{std::string(text)};
  for (std::string line; std::getline(source, line);) {
    if (!line.empty()) {
      paragraph += line + " ";
      continue;
    }
    lines += Paragraph(paragraph) + ".Pp\n";
    paragraph.clear();
  }
  return lines + Paragraph(paragraph);
}

std::string Capitalised(std::string_view text) {
  std::string capitalised(text);
  if (!text.empty()) {
    capitalised[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
  }
  return capitalised;
}

std::string Sentence(std::string_view line) {
  return Prose(Capitalised(line) + ".");
}

std::string Literal(const std::vector<std::string>& lines) {
  std::string text = ".Bd -literal -offset indent\n";
  for (const std::string& line : lines) text += Guarded(Escaped(line, true)) + "\n";
  return text + ".Ed\n";
}

/// A word of two letters could be the name of a macro, a sign by itself is set otherwise.
std::string Word(std::string_view word) {
  return word.size() <= 3 ? "\\&" + Escaped(word, true) : Escaped(word, true);
}

}  // namespace manual
