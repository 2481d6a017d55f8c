/// NAME
///   sample_table - a table of the tests' own

#include "tests/panel/sample_table.h"

#include "host/fen_err.h"

namespace panel_test {

std::string ErrorOf(const std::function<void()>& step) {
  try {
    step();
  } catch (const fen_err::Error& error) {
    return error.what();
  }
  return "";
}

}  // namespace panel_test
