/// NAME
///   tool_warnings - what tools that succeed warn of

#include "panel/process/tool_warnings.h"

#include <algorithm>
#include <utility>

namespace panel {
namespace {

thread_local ToolWarnings* current = nullptr;

}  // namespace

ToolWarnings::ToolWarnings() : outer_(std::exchange(current, this)) {}

ToolWarnings::~ToolWarnings() {
  current = outer_;
}

void ToolWarnings::Note(std::string_view output) {
  if (current == nullptr) return;
  while (!output.empty()) {
    const std::string_view line = output.substr(0, output.find('\n'));
    output.remove_prefix(std::min(line.size() + 1, output.size()));
    if (line.find(": warning: ") != std::string_view::npos) current->lines_.emplace_back(line);
  }
}

}  // namespace panel
