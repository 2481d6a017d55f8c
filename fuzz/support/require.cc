/// NAME
///   require - a promise that a fuzz target has found broken

#include "fuzz/support/require.h"

#include <cstdlib>
#include <iostream>

#include "panel/text/control_characters.h"

namespace fuzz {

void Report(std::string_view promise, Evidence evidence) {
  std::cerr << "\nNOT TRUE: " << promise << "\n";
  for (const auto& [name, text] : evidence) {
    std::cerr << "  " << name << ": \"" << panel::EscapeControlCharacters(text) << "\"\n";
  }
  std::abort();
}

}  // namespace fuzz
