/// NAME
///   help - what --help prints

#pragma once

#include <string>

#include <CLI/CLI.hpp>

#include "zebmail/command_tree.h"

namespace zebmail {

/// Writes the help of a command: what it is, how it is called, what it does, its arguments and
/// options or the commands of the group, and examples, in lines of at most 80 columns. What it is
/// given must outlive it.
class HelpFormatter : public CLI::FormatterBase {
 public:
  explicit HelpFormatter(const CommandTree& tree) : tree_(tree) {}

  /// `name` is how the command was called, with the program's name and those of its groups.
  std::string make_help(const CLI::App* app, std::string name,
                        CLI::AppFormatMode mode) const override;

 private:
  const CommandTree& tree_;
};

/// `text` in lines of at most 80 columns, each but the first with `margin` blanks before it;
/// `column` columns of the first line are taken already. What stands between single line breaks is
/// broken by itself. The text ends in a line break.
std::string Wrapped(const std::string& text, std::size_t margin, std::size_t column);

/// The lines of a list: `name`, and behind it, at a column of their own, those of `text`.
std::string ListItem(const std::string& name, const std::string& text);

}  // namespace zebmail
