/// NAME
///   help - what --help prints

#include "zebmail/help.h"

#include <sstream>
#include <vector>

namespace zebmail {
namespace {

constexpr std::size_t kColumns = 80;
constexpr std::size_t kMargin = 2;
constexpr std::size_t kTextColumn = 22;

/// "  " and "example" make a line; nothing for no lines.
std::string Section(const std::string& title, const std::string& lines) {
  return lines.empty() ? "" : "\n" + title + ":\n" + lines;
}

std::string Usage(const CommandTree& tree, const CLI::App& command, const std::string& name) {
  std::string text = "Usage: " + name;
  std::size_t column = text.size();
  for (const std::string& part : UsageOf(tree, command)) {
    const bool fits = column + 1 + part.size() <= kColumns;
    const std::string before = fits ? " " : "\n" + std::string(kMargin + kMargin, ' ');
    text += before + part;
    column = (fits ? column + 1 : kMargin + kMargin) + part.size();
  }
  return text + "\n";
}

std::string Options(const CommandTree& tree, const std::vector<const CLI::Option*>& options) {
  std::string lines;
  for (const CLI::Option* option : options) {
    lines += ListItem(NameWithValue(tree, *option), option->get_description());
  }
  return lines;
}

/// A group is told with the names of its commands.
std::string Commands(const CLI::App& group) {
  std::string lines;
  for (const CLI::App* command : CommandsOf(group)) {
    std::string names;
    for (const CLI::App* inner : CommandsOf(*command)) {
      names += (names.empty() ? ": " : ", ") + inner->get_name();
    }
    lines += ListItem(command->get_name(), command->get_description() + names);
  }
  return lines;
}

std::string Examples(const std::vector<std::string>& examples) {
  std::string lines;
  for (const std::string& example : examples) {
    lines += std::string(kMargin, ' ') + example + "\n";
  }
  return lines;
}

}  // namespace

std::string Wrapped(const std::string& text, std::size_t margin, std::size_t column) {
  std::string lines;
  std::istringstream source(text);
  for (std::string part; std::getline(source, part);) {
    std::istringstream words(part);
    bool is_first = true;
    for (std::string word; words >> word; is_first = false) {
      if (!is_first && column + 1 + word.size() > kColumns) {
        lines += "\n" + std::string(margin, ' ');
        column = margin;
      } else if (!is_first) {
        lines += " ";
        ++column;
      }
      lines += word;
      column += word.size();
    }
    lines += "\n";
    column = 0;
  }
  return lines;
}

std::string ListItem(const std::string& name, const std::string& text) {
  std::string line = std::string(kMargin, ' ') + name;
  if (line.size() + kMargin > kTextColumn) {
    line += "\n" + std::string(kTextColumn, ' ');
  } else {
    line.append(kTextColumn - line.size(), ' ');
  }
  return line + Wrapped(text, kTextColumn, kTextColumn);
}

std::string HelpFormatter::make_help(const CLI::App* app, std::string name,
                                     CLI::AppFormatMode) const {
  const auto explained = tree_.explanations.find(app);
  const Explanation explanation =
      explained == tree_.explanations.end() ? Explanation{} : explained->second;
  const std::string text = explanation.text.empty() ? "" : "\n" + Wrapped(explanation.text, 0, 0);
  const std::string more = app->get_parent() == nullptr
                               ? "\nzebmail COMMAND --help tells more of a command.\n"
                               : "\nzebmail --help lists the options that go with every command.\n";
  return name + ": " + app->get_description() + "\n\n" + Usage(tree_, *app, name) + text +
         Section("Commands", Commands(*app)) +
         Section("Arguments", Options(tree_, ArgumentsOf(*app))) +
         Section("Options", Options(tree_, OptionsOf(*app))) +
         Section("Examples", Examples(explanation.examples)) + more;
}

}  // namespace zebmail
