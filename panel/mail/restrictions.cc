/// NAME
///   restrictions - the order of the access checks in the restriction lists of main.cf

#include "panel/mail/restrictions.h"

#include <algorithm>

#include "panel/mail/value_list.h"

namespace panel::mail {
namespace {

constexpr int kDeepest = 10;  ///< a class may name classes, even itself

void AddWithClasses(const Elements& elements, const RestrictionClasses& classes, int depth,
                    Elements& all) {
  for (const std::string& element : elements) {
    const auto found = classes.find(element);
    if (found == classes.end()) {
      all.push_back(element);
    } else if (depth < kDeepest) {
      AddWithClasses(found->second, classes, depth + 1, all);
    }
  }
}

/// A check and its map are two words; nothing else goes so closely together.
std::string Joined(const Elements& elements) {
  std::string value;
  for (std::size_t index = 0; index < elements.size(); ++index) {
    if (index != 0) value += elements[index - 1].starts_with("check_") ? " " : ", ";
    value += elements[index];
  }
  return value;
}

auto At(Elements& elements, std::size_t index) {
  return elements.begin() + static_cast<Elements::difference_type>(index);
}

}  // namespace

RestrictionClasses ReadRestrictionClasses() {
  const std::string parameter = "smtpd_restriction_classes";
  const Elements names = SplitList(ReadParameters({parameter})[parameter].expanded);
  RestrictionClasses classes;
  if (names.empty()) return classes;
  for (const auto& [name, value] : ReadParameters(names)) {
    classes[name] = SplitList(value.expanded);
  }
  return classes;
}

Elements WithClasses(const Elements& elements, const RestrictionClasses& classes) {
  Elements all;
  AddWithClasses(elements, classes, 0, all);
  return all;
}

std::optional<std::size_t> PlaceOf(const Elements& elements, const IsElement& is_it) {
  const auto found = std::find_if(elements.begin(), elements.end(), is_it);
  if (found == elements.end()) return std::nullopt;
  return static_cast<std::size_t>(found - elements.begin());
}

bool RefusesRelaying(const std::string& element) {
  return element == "reject_unauth_destination" || element == "defer_unauth_destination";
}

bool RefusesStrangers(const std::string& element) {
  return RefusesRelaying(element) || element == "reject" || element == "defer";
}

std::optional<std::size_t> PlaceOfCheck(const Elements& elements, const std::string& check,
                                        const IsElement& is_it) {
  for (std::size_t index = 1; index < elements.size(); ++index) {
    if (elements[index - 1] == check && is_it(elements[index])) return index;
  }
  return std::nullopt;
}

std::string Without(const Elements& elements, std::size_t from, std::size_t count) {
  Elements rest = elements;
  rest.erase(At(rest, from), At(rest, from + count));
  return Joined(rest);
}

std::string Moved(Elements elements, std::size_t from, std::size_t count, std::size_t to) {
  if (to <= from) {
    std::rotate(At(elements, to), At(elements, from), At(elements, from + count));
  } else {
    std::rotate(At(elements, from), At(elements, from + count), At(elements, to));
  }
  return Joined(elements);
}

}  // namespace panel::mail
