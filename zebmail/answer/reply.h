/// NAME
///   reply - the answer to one sender, at most once a week
///
/// PURPOSE
///   Runs vacation(1), which sends the message of the folder to the sender unless the folder's
///   record says that he has had it within the last week. Nothing of what the sender wrote is
///   handed on, but his address.
///
/// HOW IT FAILS
///   With std::runtime_error, which names the path, the cause and what to do. A folder that is not
///   there is no failure: the responder has been switched off since Postfix looked it up.

#pragma once

#include <filesystem>
#include <string>

namespace zebmail::answer {

/// `sender` must be a plain address.
void Reply(const std::filesystem::path& folder, const std::string& sender);

}  // namespace zebmail::answer
