/// NAME
///   checksum - whether many bytes are still those that they were
///
/// PURPOSE
///   Tells a copy that a crash has torn from a whole one. It is made for speed, not to withstand
///   somebody who wants two texts to look the same: whoever could try that owns the text.

#pragma once

#include <cstdint>
#include <string_view>

namespace zebmail::maps {

std::uint64_t Checksum(std::string_view bytes);

}  // namespace zebmail::maps
