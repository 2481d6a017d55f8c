/// NAME
///   postfix_settings - what Postfix's configuration says about maps

#pragma once

#include <optional>
#include <string>

#include "zebmail/maps/arguments.h"

namespace zebmail::maps {

struct PostfixSettings {
  std::string map_type;  ///< of maps that are named without one
  std::string others;    ///< what else a map depends on, as text
};

/// Asks postconf, which is looked for beside the tool. Nothing when it does not tell.
std::optional<PostfixSettings> AskPostfix(const Arguments& arguments);

}  // namespace zebmail::maps
