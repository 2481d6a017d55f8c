/// NAME
///   probable_set - what was seen of very many, in a few bytes of each
///
/// PURPOSE
///   Whether one of a million addresses is new is nearly always told by two bits for its hash. That
///   it has been seen before is not certain: of a thousand that are new, fewer than one finds the
///   bits of others, as long as no more are put in than were said.

#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

namespace panel::mail {

class ProbableSet {
 public:
  /// For `most` texts; with more it errs more often.
  explicit ProbableSet(std::size_t most) : bits_(std::bit_ceil((most + 1) * kBitsPerText)) {}

  static std::uint64_t Hash(std::string_view text) { return std::hash<std::string_view>{}(text); }

  /// Returns whether it may have been in before.
  bool Insert(std::uint64_t hash) {
    const bool was_in = MayHave(hash);
    bits_[First(hash)] = true;
    bits_[Second(hash)] = true;
    return was_in;
  }

  bool MayHave(std::uint64_t hash) const { return bits_[First(hash)] && bits_[Second(hash)]; }

 private:
  static constexpr std::size_t kBitsPerText = 64;

  std::size_t First(std::uint64_t hash) const { return hash & (bits_.size() - 1); }
  std::size_t Second(std::uint64_t hash) const { return std::rotl(hash, 32) & (bits_.size() - 1); }

  std::vector<bool> bits_;  ///< as many as a power of 2
};

}  // namespace panel::mail
