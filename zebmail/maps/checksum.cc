/// NAME
///   checksum - whether many bytes are still those that they were
///
/// HOW
///   Four sums go side by side over every fourth word, since the processor can work on all of them
///   at once; each is stirred by a multiplication and a rotation for every word.

#include "zebmail/maps/checksum.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstring>

namespace zebmail::maps {
namespace {

constexpr std::uint64_t kOdd = 0x9E3779B97F4A7C15U;
constexpr std::size_t kLanes = 4;
constexpr std::size_t kWord = sizeof(std::uint64_t);

std::uint64_t Stir(std::uint64_t sum, std::uint64_t word) {
  return (std::rotl(sum, 29) ^ word) * kOdd;
}

std::uint64_t WordAt(const char* bytes) {
  std::uint64_t word = 0;
  std::memcpy(&word, bytes, kWord);
  return word;
}

}  // namespace

std::uint64_t Checksum(std::string_view bytes) {
  std::array<std::uint64_t, kLanes> sums{1, 2, 3, 4};
  std::string_view rest = bytes;
  for (; rest.size() >= kLanes * kWord; rest.remove_prefix(kLanes * kWord)) {
    for (std::size_t lane = 0; lane < kLanes; ++lane) {
      sums[lane] = Stir(sums[lane], WordAt(rest.data() + lane * kWord));
    }
  }
  std::uint64_t sum = Stir(kOdd, bytes.size());
  for (const std::uint64_t lane : sums) sum = Stir(sum, lane ^ (lane >> 32));
  for (const char byte : rest) sum = Stir(sum, static_cast<unsigned char>(byte));
  return sum ^ (sum >> 32);
}

}  // namespace zebmail::maps
