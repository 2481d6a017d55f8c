/// NAME
///   after_save - what the tables have in common once a file is saved

#include "email/after_save.h"

#include "email/fail.h"
#include "host/fen_proc.h"

namespace email {

bool CallsForTool(ConfCache::SaveReason reason) {
  return (static_cast<unsigned>(reason) & ~static_cast<unsigned>(ConfCache::kMadeUp)) == 0;
}

void RunTool(const std::string& code, const std::string& command) {
  const fen_proc::Execute tool(command, fen_proc::Execute::kWaitAndCapture);
  if (tool.Result() != 0) throw Fail(code, tool.Str());
}

}  // namespace email
