/// NAME
///   manual_test - the manual pages: that they are well formed, and that nothing is missing in them

#include <cctype>
#include <filesystem>
#include <functional>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "panel/module/config_names.h"
#include "postfix/path_defaults.h"
#include "tests/support/command.h"
#include "tests/support/temp_folder.h"
#include "zebmail/command_line.h"
#include "zebmail/maps/arguments.h"

namespace manual_test {
namespace {

namespace fs = std::filesystem;
using test_support::CommandRun;
using test_support::RunCommand;

std::string Page(const std::string& name) {
  return std::string(ZEBMAIL_MANUAL_FOLDER) + "/" + name;
}

/// Without what makes letters bold: each is printed, stepped back over and printed again.
std::string Plain(const std::string& text) {
  std::string plain;
  for (const char character : text) {
    if (character == '\b') {
      plain.pop_back();
    } else {
      plain += character;
    }
  }
  return plain;
}

/// The page as it is read, with one blank for all there is between words.
std::string Rendered(const std::string& name) {
  const CommandRun run =
      RunCommand({"/usr/bin/mandoc", "-T", "ascii", "-O", "width=1000", Page(name)});
  EXPECT_EQ(run.status, 0) << run.errors;
  return std::regex_replace(Plain(run.output), std::regex("\\s+"), " ");
}

class EachPage : public testing::TestWithParam<const char*> {};

TEST_P(EachPage, IsWellFormed) {
  const CommandRun run =
      RunCommand({"/usr/bin/mandoc", "-T", "lint", "-W", "warning", Page(GetParam())});

  EXPECT_EQ(run.output + run.errors, "");
  EXPECT_EQ(run.status, 0);
}

TEST_P(EachPage, IsSetByTheFormatterOfTheSystemWithoutComplaint) {
  const CommandRun run = RunCommand(
      {"/usr/bin/man", "--warnings", "-E", "UTF-8", "-l", "-Tutf8", "-Z", Page(GetParam())});

  EXPECT_EQ(run.errors, "");
  EXPECT_EQ(run.status, 0);
}

INSTANTIATE_TEST_SUITE_P(Manual, EachPage,
                         testing::Values("zebmail.1", "zebmail.toml.5", "zebmail-postmap.1"),
                         [](const auto& page) {
                           return std::regex_replace(std::string(page.param), std::regex("[.-]"),
                                                     "_");
                         });

/// The line that a command, an option or an argument says of itself as a sentence.
std::string AsSentence(std::string text) {
  text += ".";
  text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
  return text;
}

/// How a command stands in the list of commands.
std::string HeadingOf(const zebmail::CommandTree& tree, const CLI::App& command) {
  std::string heading = " " + zebmail::FullName(command);
  for (const std::string& part : UsageOf(tree, command)) heading += " " + part;
  return heading + " " + AsSentence(command.get_description());
}

/// All commands that do something.
void ForEachCommand(const CLI::App& app, const std::function<void(const CLI::App& command)>& work) {
  const auto commands = zebmail::CommandsOf(app);
  if (commands.empty()) work(app);
  for (const CLI::App* command : commands) ForEachCommand(*command, work);
}

class OfCommands : public testing::Test {
 protected:
  OfCommands() { BuildCommandLine(app_, invocation_); }

  zebmail::Invocation invocation_;
  CLI::App app_;
  const std::string page_ = Rendered("zebmail.1");
};

TEST_F(OfCommands, EveryCommandHasItsUsage) {
  int count = 0;
  ForEachCommand(app_, [&](const CLI::App& command) {
    ++count;
    const std::string heading = HeadingOf(invocation_.tree, command);
    EXPECT_NE(page_.find(heading), std::string::npos) << heading;
  });
  EXPECT_EQ(count, 39);
}

TEST_F(OfCommands, EveryOptionAndArgumentHasItsText) {
  const auto expect = [&](const CLI::Option& option) {
    const std::string name = NameWithValue(invocation_.tree, option);
    const std::string item = " " + name + " " + AsSentence(option.get_description());
    EXPECT_NE(page_.find(item), std::string::npos) << item;
  };
  for (const CLI::Option* option : zebmail::OptionsOf(app_)) expect(*option);
  ForEachCommand(app_, [&](const CLI::App& command) {
    for (const CLI::Option* option : zebmail::ArgumentsOf(command)) expect(*option);
    for (const CLI::Option* option : zebmail::OptionsOf(command)) {
      if (option != command.get_help_ptr()) expect(*option);
    }
  });
}

TEST_F(OfCommands, EveryExampleOfTheHelpIsThere) {
  for (const auto& [command, explanation] : invocation_.tree.explanations) {
    if (command == &app_) continue;
    for (const std::string& example : explanation.examples) {
      EXPECT_NE(page_.find(" " + example + " "), std::string::npos) << example;
    }
  }
}

/// Every command says of itself more than a line.
TEST_F(OfCommands, EveryCommandIsExplained) {
  ForEachCommand(app_, [&](const CLI::App& command) {
    EXPECT_FALSE(invocation_.tree.explanations[&command].text.empty())
        << zebmail::FullName(command);
  });
}

TEST(OfConfiguration, EveryKeyIsThere) {
  const std::string page = Rendered("zebmail.toml.5");

  for (const panel::ConfigKey& key : panel::kConfigKeys) {
    const std::string name =
        key.is_section ? "[" + std::string(key.name) + "]" : std::string(key.name);
    const std::string item = " " + name + " " + std::string(key.text);
    EXPECT_NE(page.find(item), std::string::npos) << item;
  }
}

/// The names that the sources ask for: GetPath("..."), config.path.find("...") and the like, and
/// those that are set by default.
std::set<std::string> NamesInSources(const std::regex& asked) {
  std::set<std::string> names;
  for (const char* folder : {"email", "panel", "postfix", "zebmail"}) {
    for (const auto& entry :
         fs::recursive_directory_iterator(fs::path(ZEBMAIL_SOURCE_FOLDER) / folder)) {
      if (entry.path().extension() != ".cc") continue;
      const std::string text = test_support::ReadText(entry.path());
      for (std::sregex_iterator match(text.begin(), text.end(), asked), end; match != end;
           ++match) {
        names.insert((*match)[1]);
      }
    }
  }
  return names;
}

TEST(OfConfiguration, EveryPathNameThatIsAskedForIsThere) {
  const std::string page = Rendered("zebmail.toml.5");
  std::set<std::string> names =
      NamesInSources(std::regex("(?:GetPath\\(|path\\.find\\(|path_name = )\"([a-z-]+)\""));
  for (const auto& one : zebpriv_email_postfix::kPathDefaults) {
    const std::string name = one.name;
    names.insert(name.substr(0, name.find(' ')));
  }

  EXPECT_GE(names.size(), 10U);
  for (const std::string& name : names) {
    EXPECT_NE(page.find(" " + name + " "), std::string::npos) << name;
  }
}

TEST(OfConfiguration, EveryParameterThatIsAskedForIsThere) {
  const std::string page = Rendered("zebmail.toml.5");
  const std::set<std::string> names =
      NamesInSources(std::regex("(?:GetParam\\(|param\\.find\\()\"([A-Za-z-]+)\""));

  EXPECT_FALSE(names.empty());
  for (const std::string& name : names) {
    EXPECT_NE(page.find(" " + name + " "), std::string::npos) << name;
  }
}

TEST(OfTheMapTool, EveryOptionIsThereAndInTheHelp) {
  const std::string page = Rendered("zebmail-postmap.1");
  const CommandRun help = RunCommand({ZEBMAIL_MAPS_FOLDER "/zebmail-postmap", "--help"});

  EXPECT_EQ(help.status, 0);
  EXPECT_EQ(help.errors, "");
  for (const auto& option : zebmail::maps::kOwnOptions) {
    const std::string name =
        std::string(option.name) + (option.value.empty() ? "" : " " + std::string(option.value));
    const std::string item = " " + name + " " + AsSentence(std::string(option.text));
    EXPECT_NE(page.find(item), std::string::npos) << item;
    EXPECT_NE(help.output.find("  " + name + " "), std::string::npos) << help.output;
    EXPECT_NE(help.output.find(" " + std::string(option.text) + "\n"), std::string::npos);
  }
}

TEST(OfTheMapTool, TheOtherNameLeadsToTheSamePage) {
  EXPECT_EQ(test_support::ReadText(Page("zebmail-postalias.1")), ".so man1/zebmail-postmap.1\n");
}

}  // namespace
}  // namespace manual_test
