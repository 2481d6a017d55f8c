/// NAME
///   words - command lines

#include "panel/text/words.h"

namespace panel {

std::vector<std::string> SplitWords(std::string_view text) {
  std::vector<std::string> words;
  std::size_t begin = text.find_first_not_of(' ');
  while (begin != std::string_view::npos) {
    const std::size_t end = text.find(' ', begin);
    words.emplace_back(text.substr(begin, end - begin));
    begin = text.find_first_not_of(' ', end);
  }
  return words;
}

std::string JoinWords(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) {
    if (!text.empty()) text += ' ';
    text += word;
  }
  return text;
}

}  // namespace panel
