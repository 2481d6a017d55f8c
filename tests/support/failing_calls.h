/// NAME
///   failing_calls - having system calls of a program fail

#pragma once

#include <filesystem>
#include <string>

namespace test_support {

/// While one lives, chosen calls fail in the programs that are started, though not in those that
/// they start; tests/failing_calls/failing_calls.cc tells how `calls` is written. Calls count on
/// paths that begin with `path`.
class FailingCalls {
 public:
  FailingCalls(const std::string& library, const std::string& calls, const std::string& path);
  ~FailingCalls();

  FailingCalls(const FailingCalls&) = delete;
  FailingCalls& operator=(const FailingCalls&) = delete;

  /// Whether a call has failed.
  bool HaveFailed() const;

 private:
  std::filesystem::path report_;
};

}  // namespace test_support
