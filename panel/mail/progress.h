/// NAME
///   progress - telling whoever waits how far long work is

#pragma once

#include <cstddef>
#include <functional>

namespace panel::mail {

/// Called now and then with the steps taken and all steps. May be empty.
using ShowProgress = std::function<void(std::size_t done, std::size_t all)>;

}  // namespace panel::mail
