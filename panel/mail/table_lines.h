/// NAME
///   table_lines - the lines of the virtual user table as plain words
///
/// PURPOSE
///   What the mail module has to know of the table and cannot ask the back-end: which mailboxes
///   some other line leads to, and which of them keep no mail. A line is a key and its targets;
///   like the records of the back-end, it is read by itself.

#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace panel::mail {

/// Calls `visit` with the key and the targets of each line of `text` that has a key. The views are
/// pieces of the text.
void ForEachTableLine(
    std::string_view text,
    const std::function<void(std::string_view key, const std::vector<std::string_view>& targets)>&
        visit);

}  // namespace panel::mail
