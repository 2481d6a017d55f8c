/// NAME
///   postconf - asking Postfix how it is configured

#pragma once

#include <string>

namespace panel::mail {

/// The value of the parameter `name` of main.cf, read with the options that postmap is configured
/// with. Throws fen_err::Error("email", "postconf", its output) when postconf, which is looked for
/// beside the configured postmap, fails.
std::string PostconfValue(const std::string& name);

}  // namespace panel::mail
