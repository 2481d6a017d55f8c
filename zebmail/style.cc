/// NAME
///   style - what a terminal shows in another way, and how wide it is

#include "zebmail/style.h"

#include <cstdlib>
#include <string_view>

#include <sys/ioctl.h>
#include <unistd.h>

#include "zebmail/invocation.h"

namespace zebmail {
namespace {

std::string_view FromEnvironment(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? "" : value;
}

/// A terminal that does not say what it is may not know colours.
bool HasColours(int stream) {
  const std::string_view terminal = FromEnvironment("TERM");
  return isatty(stream) != 0 && FromEnvironment("NO_COLOR").empty() && !terminal.empty() &&
         terminal != "dumb";
}

std::string_view Code(Style style) {
  switch (style) {
    case Style::kPlain:
      return "";
    case Style::kHeading:
      return "\033[1m";
    case Style::kGood:
      return "\033[32m";
    case Style::kNotice:
      return "\033[33m";
    case Style::kBad:
      return "\033[31m";
  }
  return "";
}

std::string InStyle(Style style, const std::string& text, bool has_colours) {
  if (!has_colours || text.empty() || style == Style::kPlain) return text;
  return std::string(Code(style)) + text + "\033[0m";
}

}  // namespace

std::string Styled(Style style, const std::string& text) {
  static const bool kHasColours = HasColours(STDOUT_FILENO);
  return InStyle(style, text, kHasColours);
}

std::string StyledError(Style style, const std::string& text) {
  static const bool kHasColours = HasColours(STDERR_FILENO);
  return InStyle(style, text, kHasColours);
}

std::optional<std::size_t> TerminalWidth() {
  constexpr std::size_t kUsual = 80;
  if (isatty(STDOUT_FILENO) == 0) return std::nullopt;
  winsize size{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
  const std::string columns(FromEnvironment("COLUMNS"));
  const bool is_number = WholeNumber(columns).empty() && columns != "0";
  return is_number ? std::stoul(columns) : kUsual;
}

}  // namespace zebmail
