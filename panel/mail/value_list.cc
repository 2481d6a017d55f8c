/// NAME
///   value_list - the values of main.cf that are lists

#include "panel/mail/value_list.h"

namespace panel::mail {
namespace {

constexpr std::string_view kSeparators = ", \t\r\n";

/// The end of the element that begins at `begin`.
std::size_t EndOf(std::string_view value, std::size_t begin) {
  std::size_t depth = 0;
  std::size_t end = begin;
  for (; end < value.size(); ++end) {
    if (value[end] == '{') {
      ++depth;
    } else if (depth > 0) {
      if (value[end] == '}') --depth;
    } else if (kSeparators.find(value[end]) != std::string_view::npos) {
      break;
    }
  }
  return end;
}

}  // namespace

std::vector<Element> ElementsOf(std::string_view value) {
  std::vector<Element> elements;
  std::size_t begin = value.find_first_not_of(kSeparators);
  while (begin != std::string_view::npos) {
    const std::size_t end = EndOf(value, begin);
    elements.push_back({std::string(value.substr(begin, end - begin)), begin, end});
    begin = value.find_first_not_of(kSeparators, end);
  }
  return elements;
}

std::vector<std::string> SplitList(std::string_view value) {
  std::vector<std::string> texts;
  for (Element& element : ElementsOf(value)) texts.push_back(std::move(element.text));
  return texts;
}

std::string Appended(const std::string& value, const std::string& element) {
  const std::vector<Element> elements = ElementsOf(value);
  if (elements.empty()) return element;
  return value.substr(0, elements.back().end) + ", " + element;
}

std::string Prepended(const std::string& value, const std::string& element) {
  const std::vector<Element> elements = ElementsOf(value);
  if (elements.empty()) return element;
  return element + ", " + value.substr(elements.front().begin);
}

}  // namespace panel::mail
