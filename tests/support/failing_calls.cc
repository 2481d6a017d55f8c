/// NAME
///   failing_calls - having system calls of a program fail

#include "tests/support/failing_calls.h"

#include <cstdlib>

#include <unistd.h>

namespace test_support {

FailingCalls::FailingCalls(const std::string& library, const std::string& calls,
                           const std::string& path)
    : report_(std::filesystem::temp_directory_path() /
              ("zebmail-failed-" + std::to_string(getpid()))) {
  std::filesystem::remove(report_);
  setenv("LD_PRELOAD", library.c_str(), 1);
  setenv("FAILING_CALLS", calls.c_str(), 1);
  setenv("FAILING_PATH", path.c_str(), 1);
  setenv("FAILING_REPORT", report_.c_str(), 1);
}

FailingCalls::~FailingCalls() {
  for (const char* const name : {"LD_PRELOAD", "FAILING_CALLS", "FAILING_PATH", "FAILING_REPORT"}) {
    unsetenv(name);
  }
  std::error_code failed;  // nothing follows from what is left there
  std::filesystem::remove(report_, failed);
}

bool FailingCalls::HaveFailed() const {
  return std::filesystem::exists(report_);
}

}  // namespace test_support
