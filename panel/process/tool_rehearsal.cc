/// NAME
///   tool_rehearsal - noting which commands would run

#include <utility>

#include "panel/process/tools.h"

namespace panel {
namespace {

thread_local ToolRehearsal* current = nullptr;

}  // namespace

ToolRehearsal::ToolRehearsal() : outer_(std::exchange(current, this)) {}

ToolRehearsal::~ToolRehearsal() {
  current = outer_;
}

bool ToolRehearsal::Note(const std::string& command) {
  if (current == nullptr) return false;
  current->commands_.push_back(command);
  return true;
}

}  // namespace panel
