/// NAME
///   arguments - what the program is asked to do

#pragma once

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
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
  std::vector<std::string> rest;  ///< for Postfix's own program
  std::optional<Order> order;     ///< nothing: that program is to do it
};

/// The program was called in a way that it does not know.
class UsageError : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// `words` begin with the name by which the program was called. Throws UsageError.
Arguments ReadArguments(const std::vector<std::string>& words);

}  // namespace zebmail::maps
