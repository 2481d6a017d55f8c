/// NAME
///   guard - a process that ends a server when the test is over, however that comes
///
/// PURPOSE
///   Runs a shell script whose standard input ends when the object goes away and also when the test
///   program dies in whatever way. The script reads from it, and ends its server then.
///
/// HOW IT FAILS
///   With std::system_error when the process cannot be started.

#pragma once

#include <string>

#include <sys/types.h>

namespace test_support {

class Guard {
 public:
  /// Starts /bin/sh on `script`, with `argument` as its "$1".
  Guard(const std::string& script, const std::string& argument);

  /// Waits until the script has ended.
  ~Guard();

  Guard(const Guard&) = delete;
  Guard& operator=(const Guard&) = delete;

 private:
  pid_t process_ = 0;
  int pipe_ = -1;
};

}  // namespace test_support
