/// NAME
///   progress - a bar that shows how far long work is

#pragma once

#include <cstddef>

#include "panel/mail/progress.h"
#include "zebmail/invocation.h"

namespace zebmail {

/// Draws the bar on standard error, when that is a terminal, and wipes it out at the end of the
/// work, however it ends.
class ProgressBar {
 public:
  explicit ProgressBar(const Invocation& invocation);
  ~ProgressBar() { Wipe(); }

  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  /// What draws it; empty when nothing is to be drawn. Refers to this object.
  panel::mail::ShowProgress Show();

 private:
  void Draw(std::size_t done, std::size_t all);
  void Wipe() const;

  bool is_shown_;
  bool is_drawn_ = false;
  std::size_t all_ = 0;  ///< of what is drawn
};

}  // namespace zebmail
