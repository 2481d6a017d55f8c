/// NAME
///   listing - naming some of many

#pragma once

#include <algorithm>
#include <string>
#include <vector>

namespace panel::mail {

/// The first names, and how many more there are.
inline std::string Listing(const std::vector<std::string>& names) {
  constexpr std::size_t kShown = 5;
  std::string text;
  for (std::size_t index = 0; index < std::min(kShown, names.size()); ++index) {
    text += (index == 0 ? "" : ", ") + names[index];
  }
  if (names.size() > kShown) text += " and " + std::to_string(names.size() - kShown) + " more";
  return text;
}

}  // namespace panel::mail
