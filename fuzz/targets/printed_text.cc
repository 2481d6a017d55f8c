/// NAME
///   printed_text - any text as it is printed on a terminal and written to the log
///
/// WHAT MUST HOLD
///   What is printed is one line of visible UTF-8, of a bounded length where the text may be of
///   any; what can be seen is printed as it is. What is printed as one line tells what the text
///   was.

#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz/support/require.h"
#include "panel/text/control_characters.h"
#include "panel/text/shortened.h"
#include "panel/text/utf8.h"
#include "zebmail/output.h"

namespace {

using fuzz::Require;

/// Control characters, those of Latin-1 and those by which text turns its direction.
bool IsDangerous(char32_t code) {
  return code < 0x20 || (code >= 0x7f && code < 0xa0) || (code >= 0x200b && code <= 0x200f) ||
         (code >= 0x2028 && code <= 0x202e) || (code >= 0x2060 && code <= 0x206f) || code == 0xfeff;
}

void CheckPrinted(std::string_view printed) {
  std::string_view rest = printed;
  while (!rest.empty()) {
    const panel::Utf8Character first = panel::FirstCharacter(rest);
    Require(first.size != 0 && !IsDangerous(first.code), "what is printed can be seen",
            {{"printed", printed}});
    rest.remove_prefix(first.size);
  }
}

/// The text of which `line` was printed.
std::string ReadBack(std::string_view line) {
  std::string text;
  for (; !line.empty(); line.remove_prefix(1)) {
    if (line.front() != '\\') {
      text += line.front();
      continue;
    }
    line.remove_prefix(1);
    const std::size_t known = std::string_view("nrt\\").find(line.front());
    if (known != std::string_view::npos) {
      text += "\n\r\t\\"[known];
    } else {
      text += static_cast<char>(std::stoi(std::string(line.substr(1, 2)), nullptr, 16));
      line.remove_prefix(2);
    }
  }
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const std::string line = zebmail::OneLine(text);
  CheckPrinted(line);
  Require(ReadBack(line) == text, "a line tells what the text was", {{"text", text}});
  Require(zebmail::ToCopy(line) == line, "what can be seen is printed as it is", {{"line", line}});
  CheckPrinted(zebmail::ToCopy(text));
  CheckPrinted(panel::EscapeControlCharacters(text));

  const std::size_t longest = size / 2;
  const std::string shortened = panel::Shortened(text, longest);
  Require(shortened.size() <= longest + 64, "a long text is shortened", {{"text", text}});
  Require(panel::IsUtf8(shortened) || !panel::IsUtf8(text), "no character is cut",
          {{"text", text}, {"shortened", shortened}});
  CheckPrinted(zebmail::Shown(text));
  return 0;
}
