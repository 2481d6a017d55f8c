/// NAME
///   value_list - the values of main.cf that are lists
///
/// PURPOSE
///   Postfix splits such a value at commas and blanks, but not within braces, so that
///   "pipemap:{regexp:/a,hash:/b}" is one element.

#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace panel::mail {

/// An element and its place in the value.
struct Element {
  std::string text;
  std::size_t begin;
  std::size_t end;
};

/// The elements of `value`, in their order.
std::vector<Element> ElementsOf(std::string_view value);

/// Their texts alone.
std::vector<std::string> SplitList(std::string_view value);

/// `value` with `element` put behind its last, or before its first.
std::string Appended(const std::string& value, const std::string& element);
std::string Prepended(const std::string& value, const std::string& element);

}  // namespace panel::mail
