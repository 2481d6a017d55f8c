/// NAME
///   tool - running Postfix's own programs
///
/// WHEN THIS PROGRAM IS KILLED
///   The tool works on to its end, as it would have without it: a map that is half written is one
///   that Postfix reads. It holds the locks of the map meanwhile, so that the next run waits for
///   it, and has the time that this program was given (see alarm(2)).
///
/// HOW IT FAILS
///   With FileError when it cannot be started.

#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace zebmail::maps {

using Words = std::vector<std::string>;

/// Runs `words`, a program's path and its arguments, with `input` as its standard input, and waits
/// for it. What it prints goes to `print`, piece by piece. `locks` are open files that the tool is
/// to hold too. Returns the exit status; 128 and the signal's number when a signal ended it.
int RunTool(const Words& words, std::string_view input, const std::vector<int>& locks,
            const std::function<void(std::string_view)>& print);

/// Has this process become the tool.
[[noreturn]] void BecomeTool(const Words& words);

}  // namespace zebmail::maps
