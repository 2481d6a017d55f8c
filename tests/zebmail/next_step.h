/// NAME
///   next_step - errors without what to do next
///
/// PURPOSE
///   Tests of an error state what is wrong; what the command says to do about it is stated once, in
///   next_step_test.cc.

#pragma once

#include <string>

namespace zebmail_test {

/// `errors` without a last line that begins with "next: ".
inline std::string WithoutNextStep(const std::string& errors) {
  if (!errors.ends_with('\n')) return errors;
  const std::size_t last_but_one = errors.rfind('\n', errors.size() - 2);
  const std::size_t begin = last_but_one == std::string::npos ? 0 : last_but_one + 1;
  return errors.compare(begin, 6, "next: ") == 0 ? errors.substr(0, begin) : errors;
}

}  // namespace zebmail_test
