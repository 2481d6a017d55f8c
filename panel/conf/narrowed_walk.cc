/// NAME
///   narrowed walk - walking over the lines that hold a word, and over no others

#include "panel/conf/narrowed_walk.h"

#include <utility>

#include "host/fen_err.h"

namespace panel::conf {
namespace {

thread_local const NarrowedWalk* current = nullptr;

}  // namespace

NarrowedWalk::NarrowedWalk(std::string path, std::string word)
    : path_(std::move(path)), word_(std::move(word)) {
  if (current != nullptr) throw fen_err::Error("operation", "walk", "a walk is narrowed already");
  current = this;
}

NarrowedWalk::~NarrowedWalk() {
  current = nullptr;
}

const std::string* NarrowedWalk::WordFor(std::string_view path) {
  return current != nullptr && current->path_ == path ? &current->word_ : nullptr;
}

}  // namespace panel::conf
