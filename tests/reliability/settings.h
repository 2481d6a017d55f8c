/// NAME
///   settings - how long a random test goes on, and from where
///
/// PURPOSE
///   The same tests run for a minute among all others and for as long as somebody wants, by the
///   program `run` beside this file. It sets RELIABILITY_COUNT and RELIABILITY_SEED.

#pragma once

#include <cstdlib>
#include <random>
#include <string>

namespace reliability {

struct Settings {
  int count;      ///< of what the test does again and again
  unsigned seed;  ///< of its random numbers
};

/// What is set, else `count` and a seed of its own for each run.
inline Settings ChosenSettings(int count) {
  const char* const chosen_count = std::getenv("RELIABILITY_COUNT");
  const char* const chosen_seed = std::getenv("RELIABILITY_SEED");
  return {chosen_count == nullptr ? count : std::stoi(chosen_count),
          chosen_seed == nullptr ? std::random_device()()
                                 : static_cast<unsigned>(std::stoul(chosen_seed))};
}

}  // namespace reliability
