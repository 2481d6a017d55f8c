/// NAME
///   back_end - the mail server's side of the mail module

#include "panel/mail/back_end.h"

#include <memory>

#include "host/email.h"
#include "host/fen_cf.h"
#include "host/fen_err.h"
#include "panel/module/config.h"

namespace {

std::unique_ptr<email::MtaInterface>& Registered() {
  static std::unique_ptr<email::MtaInterface> back_end;
  return back_end;
}

}  // namespace

void email::RegisterMta(MtaInterface* mta) {
  std::unique_ptr<MtaInterface> owned(mta);
  if (Registered()) {
    throw fen_err::Error("module", "MTA", "a second module offers itself as the mail back-end");
  }
  Registered() = std::move(owned);
}

email::MtaInterface& panel::mail::BackEnd() {
  if (!Registered()) {
    const Config& config = CurrentConfig();
    const auto mta = config.param.find("MTA");
    const std::string value = mta == config.param.end() ? "" : mta->second;
    throw fen_err::Error("config", "[param] MTA",
                         "no module in " + config.module_dir.string() + " serves \"" + value +
                             "\"; set module_dir and MTA = \"postfix\" in " + config.file.string());
  }
  return *Registered();
}

bool panel::mail::WorksForPostfix() {
  return fen_cf::GetParam("MTA") == "postfix";
}
