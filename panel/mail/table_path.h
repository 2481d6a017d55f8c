/// NAME
///   table_path - where the mail server's tables lie
///
/// PURPOSE
///   The path names of a mail server's files begin with the server's own name, which the parameter
///   "MTA" gives ("postfix-virtusertable").

#pragma once

#include <string>

#include "host/fen_cf.h"

namespace panel::mail {

/// The path of the table `name` of the mail server in use, such as "virtusertable"; empty when it
/// is neither configured nor set by a module.
inline std::string TablePath(const std::string& name) {
  return fen_cf::GetPath(fen_cf::GetParam("MTA") + "-" + name);
}

}  // namespace panel::mail
