/// NAME
///   after_save - what the tables have in common once a file is saved
///
/// PURPOSE
///   Postfix does not read most table files themselves but maps built from them, and re-reads its
///   services only when told to. Each table runs one tool for that. Whether a save calls for it and
///   what becomes of a tool that fails is the same for all of them.

#pragma once

#include <string>

#include "host/conf.h"

namespace email {

/// Whether a save for `reason` calls for the table's tool: one by an operation does, and so does
/// one that is made up for; a quiet one and anything else does not.
bool CallsForTool(ConfCache::SaveReason reason);

/// Runs `command`, the tool's path and its arguments, to its end. Throws email::Fail(code, output)
/// when it does not succeed; the table file stays saved.
void RunTool(const std::string& code, const std::string& command);

}  // namespace email
