/// NAME
///   advice - what an administrator can do about work that is outstanding

#include "panel/mail/advice.h"

#include "panel/conf/pending.h"
#include "panel/module/config.h"

namespace panel::mail {

std::string FixCommand() {
  return "zebmail --config " + CurrentConfig().file.string() + " check --fix";
}

std::string DescribePendingWork() {
  std::string lines;
  for (const conf::PendingWork& work : conf::ListPendingWork()) {
    lines +=
        "outstanding: " + work.path + " is saved, but the tool that follows has not succeeded\n";
  }
  return lines;
}

}  // namespace panel::mail
