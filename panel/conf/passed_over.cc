/// NAME
///   passed over - lines of a file that walks pass over

#include "panel/conf/passed_over.h"

#include <utility>

#include "host/fen_err.h"

namespace panel::conf {
namespace {

thread_local const PassedOver* current = nullptr;

}  // namespace

PassedOver::PassedOver(std::string path, std::unordered_set<std::size_t> offsets)
    : path_(std::move(path)), offsets_(std::move(offsets)) {
  if (current != nullptr)
    throw fen_err::Error("operation", "walk", "lines are passed over already");
  current = this;
}

PassedOver::~PassedOver() {
  current = nullptr;
}

const std::unordered_set<std::size_t>* PassedOver::Of(std::string_view path) {
  const bool is_any = current != nullptr && !current->offsets_.empty() && current->path_ == path;
  return is_any ? &current->offsets_ : nullptr;
}

}  // namespace panel::conf
