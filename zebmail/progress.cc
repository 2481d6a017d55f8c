/// NAME
///   progress - a bar that shows how far long work is

#include "zebmail/progress.h"

#include <algorithm>
#include <iostream>
#include <string>

#include <unistd.h>

namespace zebmail {

ProgressBar::ProgressBar(const Invocation& invocation)
    : is_shown_(!invocation.quiet && isatty(STDERR_FILENO) != 0) {}

panel::mail::ShowProgress ProgressBar::Show() {
  if (!is_shown_) return {};
  return [this](std::size_t done, std::size_t all) { Draw(done, all); };
}

/// Work may have parts of different length; what is drawn of one must not show behind the next.
void ProgressBar::Draw(std::size_t done, std::size_t all) {
  if (all != all_) Wipe();
  all_ = all;
  constexpr std::size_t kWidth = 40;
  const std::size_t filled = done >= all ? kWidth : done * kWidth / all;
  std::cerr << "\r[" << std::string(filled, '#') << std::string(kWidth - filled, ' ') << "] "
            << std::min(done, all) << " of " << all << std::flush;
  is_drawn_ = true;
}

void ProgressBar::Wipe() const {
  if (is_drawn_) std::cerr << "\r\033[K" << std::flush;
}

}  // namespace zebmail
