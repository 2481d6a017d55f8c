/// NAME
///   map_answers - what the maps say that Postfix works with
///
/// PURPOSE
///   mail::LookUp for maps of which it matters that they cannot be asked: that is an answer here.

#pragma once

#include <string>
#include <vector>

#include "panel/mail/map_lookup.h"

namespace panel::trace {

struct MapAnswers {
  mail::Answers values;  ///< of the keys that the map has
  std::string failure;   ///< why the map cannot be asked; empty when it can
};

/// Asks `map`, such as "hash:/etc/mail/access", for the keys.
MapAnswers AskMap(const std::string& map, const std::vector<std::string>& keys);

}  // namespace panel::trace
