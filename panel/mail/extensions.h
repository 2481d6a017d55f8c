/// NAME
///   extensions - what Postfix takes for an extension in an address
///
/// PURPOSE
///   Mail for "info+news@example.org" goes to "info@example.org" where main.cf says that "+" begins
///   an extension (recipient_delimiter). It may say another character, several of them, or none.

#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace panel::mail {

struct Extensions {
  std::string delimiters;   ///< each begins one; empty when there are none
  bool has_owners = false;  ///< "owner-NAME" and "NAME-request" belong to a list of this server

  /// Where the extension of the local part begins, with its delimiter.
  std::optional<std::size_t> PlaceIn(const std::string& local) const;

  /// The address, or the local part by itself, without its extension.
  std::string Strip(const std::string& address) const;
};

/// What main.cf says. Throws as main_cf.h says.
Extensions ReadExtensions();

/// The address, or the local part by itself, without its extension. main.cf is asked once in an
/// operation, and not at all for names that are made of letters and digits, which no server
/// separates by. When it cannot be asked, that is logged, and "+" begins an extension.
std::string WithoutExtension(const std::string& address);

/// Has main.cf be asked anew, by the next operation.
void ForgetExtensions();

}  // namespace panel::mail
