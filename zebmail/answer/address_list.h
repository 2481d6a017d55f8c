/// NAME
///   address_list - the addresses of a field such as "To:"
///
/// PURPOSE
///   A field names addresses bare or in angle brackets behind a display name, with comments and
///   quotes anywhere, singly or in groups. Who compares the field's text with an address finds it
///   where it is not: in a display name, or as a part of a longer address.

#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zebmail::answer {

/// The addresses of a field's unfolded value, in their order, without comments, needless quotes and
/// the blanks that may stand around "@" and dots. What is no address stays a text that is equal to
/// none. Takes time in proportion to the value's length, whatever it holds.
std::vector<std::string> ReadAddresses(std::string_view value);

}  // namespace zebmail::answer
