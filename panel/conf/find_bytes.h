/// NAME
///   find_bytes - searching a buffer

#pragma once

#include <cstddef>
#include <cstring>
#include <string_view>

namespace panel::conf {

/// Where `bytes` stand in `text` from `begin` on; npos when they do not.
inline std::size_t FindBytes(std::string_view text, std::string_view bytes, std::size_t begin) {
  const void* found = memmem(text.data() + begin, text.size() - begin, bytes.data(), bytes.size());
  if (found == nullptr) return std::string_view::npos;
  return static_cast<std::size_t>(static_cast<const char*>(found) - text.data());
}

}  // namespace panel::conf
