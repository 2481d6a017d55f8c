/// NAME
///   restrictions - the order of the access checks in the restriction lists of main.cf
///
/// PURPOSE
///   An access table may answer "OK", which ends its list. In a list that has not yet refused
///   recipients elsewhere, that would let strangers relay. Here it is seen where each list refuses
///   them, and where the panel's access table stands.

#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "panel/mail/main_cf.h"

namespace panel::mail {

using Elements = std::vector<std::string>;

/// Tells one element of a list from others.
using IsElement = std::function<bool(const std::string& element)>;

/// The restriction classes that the administrator has defined, with their elements.
using RestrictionClasses = std::map<std::string, Elements>;
RestrictionClasses ReadRestrictionClasses();

/// The elements with those of the classes in place of the classes' names.
Elements WithClasses(const Elements& elements, const RestrictionClasses& classes);

/// The first element of the kind.
std::optional<std::size_t> PlaceOf(const Elements& elements, const IsElement& is_it);

/// Whether the element refuses, to strangers, recipients for which this server is not responsible;
/// the second one counts those that refuse all that is left as well.
bool RefusesRelaying(const std::string& element);
bool RefusesStrangers(const std::string& element);

/// The map that follows the first `check` in the list for which `is_it` holds; none when there is
/// no such check.
std::optional<std::size_t> PlaceOfCheck(const Elements& elements, const std::string& check,
                                        const IsElement& is_it);

/// The list with the `count` elements at `from` taken out, or put before those at `to`.
std::string Without(const Elements& elements, std::size_t from, std::size_t count);
std::string Moved(Elements elements, std::size_t from, std::size_t count, std::size_t to);

}  // namespace panel::mail
