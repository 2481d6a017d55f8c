/// NAME
///   table - a virtual user table to measure on, and the panel that it needs
///
/// HOW IT FAILS
///   With std::filesystem::filesystem_error where files cannot be made, and as the panel does.

#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

#include "email/virtual_user_table.h"

namespace bench {

/// Makes a panel in `folder` the one in use. It has no database, and its postmap does nothing.
void UsePanel(const std::filesystem::path& folder);

/// Writes a table of `lines` lines, 100 for each domain: its own, and 99 mailboxes.
void WriteTable(const std::filesystem::path& table, std::size_t lines);

/// The address of the mailbox in the middle of such a table.
std::string MiddleAddress(std::size_t lines);

/// A cursor over the table's lines of addresses.
Cursor<email::VirtualEmails> OpenAddresses(const std::filesystem::path& table);

/// Has the line of `address` lead to `target`, and the table saved.
void SetTarget(const std::filesystem::path& table, const std::string& address,
               const std::string& target);

}  // namespace bench
