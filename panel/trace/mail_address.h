/// NAME
///   mail_address - the parts of an address, as Postfix takes it apart

#pragma once

#include <optional>
#include <string>

#include "panel/trace/settings.h"

namespace panel::trace {

struct MailAddress {
  std::string local;
  std::string domain;

  /// The address in the form in which Postfix works with it: with a domain.
  MailAddress(const std::string& text, const Settings& settings);

  std::string Text() const { return local + "@" + domain; }
};

/// The local part in two: what stands before its extension, and the extension with its delimiter.
struct Extended {
  std::string user;
  std::string extension;
};

/// Nothing for a local part without an extension.
std::optional<Extended> SplitExtension(const std::string& local, const Settings& settings);

}  // namespace panel::trace
