/// NAME
///   passed over - lines of a file that walks pass over

#include "panel/conf/passed_over.h"

#include <algorithm>
#include <utility>

#include "host/fen_err.h"

namespace panel::conf {
namespace {

thread_local PassedOver* current = nullptr;

}  // namespace

PassedOver::PassedOver(std::string path, const FoundLines& lines)
    : path_(std::move(path)),
      stamp_(lines.stamp),
      offsets_(lines.offsets.begin(), lines.offsets.end()) {
  std::sort(offsets_.begin(), offsets_.end());
  if (current != nullptr)
    throw fen_err::Error("operation", "walk", "lines are passed over already");
  current = this;
}

PassedOver::~PassedOver() {
  current = nullptr;
}

PassedOver* PassedOver::Of(const std::string& path, const std::optional<FileStamp>& stamp) {
  if (current == nullptr || current->path_ != path) return nullptr;
  if (current->stamp_ != stamp) throw fen_err::Error("changed", path, "");
  return current->offsets_.empty() ? nullptr : current;
}

bool PassedOver::Contains(std::size_t offset) {
  const bool is_next = (next_ == 0 || offsets_[next_ - 1] < offset) &&
                       (next_ == offsets_.size() || offset <= offsets_[next_]);
  if (!is_next) {
    const auto next = std::lower_bound(offsets_.begin(), offsets_.end(), offset);
    next_ = static_cast<std::size_t>(next - offsets_.begin());
  }
  return next_ < offsets_.size() && offsets_[next_] == offset;
}

}  // namespace panel::conf
