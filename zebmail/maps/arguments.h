/// NAME
///   arguments - what the program is asked to do

#pragma once

#include <array>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace zebmail::maps {

/// The program of Postfix that is stood in for. It decides how the text is read.
enum class Format { kPostmap, kPostalias };

/// A map to bring in step with its text.
struct Order {
  std::string config_dir;  ///< of "-c"; empty without one
  std::string type;        ///< empty: the server's own
  std::filesystem::path text;
};

struct Arguments {
  std::string name;  ///< by which the program was called
  Format format = Format::kPostmap;
  std::filesystem::path state_dir = "/var/lib/zebmail";
  std::filesystem::path tool;     ///< Postfix's own program
  bool explain = false;           ///< whether to say which way was taken, and why
  bool whole = false;             ///< whether to build the whole map, whatever is known of it
  bool help = false;              ///< whether to say what the program takes, and no more
  std::vector<std::string> rest;  ///< for Postfix's own program
  std::optional<Order> order;     ///< nothing: that program is to do it
};

/// An option of the program itself. These stand before those of Postfix's own program.
struct OwnOption {
  std::string_view name;
  std::string_view value;                   ///< what it takes; nothing for a flag
  std::string_view text;                    ///< what it says
  bool Arguments::*flag;                    ///< of one that takes nothing
  std::filesystem::path Arguments::*place;  ///< of one that takes an absolute path
};

inline constexpr std::array<OwnOption, 5> kOwnOptions = {{
    {"--state", "DIR", "the state folder of the panel; /var/lib/zebmail without it", nullptr,
     &Arguments::state_dir},
    {"--tool", "PROGRAM", "Postfix's own program; without it the one in /usr/sbin", nullptr,
     &Arguments::tool},
    {"--explain", "", "say on standard error which way was taken, and why", &Arguments::explain,
     nullptr},
    {"--whole", "", "build the whole map, whatever is known of the old one", &Arguments::whole,
     nullptr},
    {"--help", "", "print this", &Arguments::help, nullptr},
}};

/// What `program` prints for --help.
std::string HelpOf(const std::string& program);

/// The program was called in a way that it does not know.
class UsageError : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// `words` begin with the name by which the program was called. Throws UsageError.
Arguments ReadArguments(const std::vector<std::string>& words);

}  // namespace zebmail::maps
