/// NAME
///   typed_line - a command line that is not complete yet, taken apart

#include "zebmail/typed_line.h"

#include <algorithm>

namespace zebmail {
namespace {

/// Takes one word after the other.
class Reader {
 public:
  explicit Reader(const CLI::App& app) { line_.command = &app; }

  void Take(const std::string& word) {
    if (line_.pending != nullptr) {
      TakeValue(word);
    } else if (line_.options_are_over || !word.starts_with('-') || word == "-") {
      TakeName(word);
    } else if (word == "--") {
      line_.options_are_over = true;
    } else {
      TakeOption(word);
    }
  }

  const TypedLine& line() const noexcept { return line_; }

 private:
  void TakeValue(const std::string& value) {
    if (NameOf(*line_.pending) == "--config") line_.config = value;
    line_.pending = nullptr;
  }

  void TakeName(const std::string& word) {
    if (CommandsOf(*line_.command).empty()) {
      line_.arguments.push_back(word);
      return;
    }
    const std::vector<const CLI::App*> commands = CommandsOf(*line_.command);
    const auto named =
        std::find_if(commands.begin(), commands.end(),
                     [&word](const CLI::App* command) { return command->get_name() == word; });
    line_.is_wrong = line_.is_wrong || named == commands.end();
    if (named != commands.end()) line_.command = *named;
  }

  void TakeOption(const std::string& word) {
    const std::size_t equals = word.find('=');
    const CLI::Option* const option = FindOption(*line_.command, word.substr(0, equals));
    if (option == nullptr) {
      line_.is_wrong = true;
      return;
    }
    line_.given.insert(option);
    if (IsFlag(*option)) return;
    line_.pending = option;
    if (equals != std::string::npos) TakeValue(word.substr(equals + 1));
  }

  TypedLine line_;
};

}  // namespace

TypedLine ReadTypedLine(const CLI::App& app, const std::vector<std::string>& words) {
  Reader reader(app);
  for (const std::string& word : words) reader.Take(word);
  return reader.line();
}

std::vector<const CLI::Option*> OptionsBehind(const CLI::App& command) {
  std::vector<const CLI::Option*> options;
  for (const CLI::App* app = &command; app != nullptr; app = app->get_parent()) {
    for (const CLI::Option* option : OptionsOf(*app)) {
      const bool is_outer_help = app != &command && option == app->get_help_ptr();
      if (!is_outer_help) options.push_back(option);
    }
  }
  return options;
}

const CLI::Option* FindOption(const CLI::App& command, const std::string& name) {
  for (const CLI::Option* option : OptionsBehind(command)) {
    if (option->check_name(name)) return option;
  }
  return nullptr;
}

}  // namespace zebmail
