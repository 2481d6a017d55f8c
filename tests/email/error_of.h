/// NAME
///   error_of - the panel's error that something throws

#pragma once

#include <stdexcept>

#include "host/fen_err.h"

namespace test_support {

/// The error that `work` throws; a test whose work throws none fails with what this throws.
template <class Work>
fen_err::Error ErrorOf(Work work) {
  try {
    work();
  } catch (const fen_err::Error& error) {
    return error;
  }
  throw std::logic_error("an error was expected and none came");
}

}  // namespace test_support
