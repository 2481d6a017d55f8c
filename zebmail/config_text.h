/// NAME
///   config_text - writing a configuration file

#pragma once

#include <string>

#include "panel/module/config.h"

namespace zebmail {

/// `config` as the text of a configuration file, which reads back as the same. Throws
/// fen_err::Error("value", name, ...) for a text with a control character, which it could not hold.
std::string ConfigText(const panel::Config& config);

}  // namespace zebmail
