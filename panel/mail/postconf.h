/// NAME
///   postconf - asking Postfix how it is configured
///
/// PURPOSE
///   Runs postconf with the options that postmap is configured with, so that it reads the same
///   main.cf. It is looked for beside the configured postmap.
///
/// HOW IT FAILS
///   With fen_err::Error("email", "postconf", its output) when postconf fails.

#pragma once

#include <string>
#include <vector>

namespace panel::mail {

/// postconf and the options with which `tool` is configured, as the words of a command line.
std::vector<std::string> PostconfCommand(const std::string& tool = "postfix-postmap");

/// postmap itself, whatever is configured in its place for building maps, with those options.
std::vector<std::string> PostmapCommand(const std::string& tool = "postfix-postmap");

/// What postconf prints with `options` behind those, but for its warnings.
std::string RunPostconf(const std::vector<std::string>& options);

/// The value of the parameter `name` of main.cf.
std::string PostconfValue(const std::string& name);

/// The name of this host that the parameter `name` of main.cf holds, or the file that it names; in
/// lower case.
std::string HostName(const std::string& name);

}  // namespace panel::mail
