/// NAME
///   map_place - a table, its map and Postfix's own programs, for one test

#include "tests/maps/map_place.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>

namespace maps_test {
namespace {

namespace fs = std::filesystem;

}  // namespace

MapPlace::MapPlace(const std::string& type, const std::string& program)
    : type_(type), program_(program) {
  fs::create_directories(Path("state"));
  folder_.WriteText("postfix/master.cf", "");
  test_support::MakeOld(
      folder_.WriteText("postfix/main.cf",
                        "compatibility_level = 3.6\nmyhostname = mail.test\n"
                        "inet_interfaces = 127.0.0.1\ninet_protocols = ipv4\n"
                        "default_database_type = " +
                            type + "\nqueue_directory = " + Path("queue").string() +
                            "\ndata_directory = " + Path("data").string() + "\n"));
  folder_.WriteText("runs", "");
  SetScript("");
  SetText("");
}

fs::path MapPlace::map_path() const {
  return text_path().string() + (type_ == "lmdb" ? ".lmdb" : ".db");
}

fs::path MapPlace::StateFile(const std::string& ending) const {
  for (const fs::directory_entry& entry : fs::directory_iterator(Path("state/maps"))) {
    if (entry.path().string().ends_with(ending)) return entry.path();
  }
  throw std::runtime_error("no " + ending);
}

void MapPlace::SetText(const std::string& text) const {
  fs::rename(folder_.WriteText("mail/table.new", text), text_path());
}

CommandRun MapPlace::Run(const std::vector<std::string>& more) const {
  return test_support::RunCommand(Words(more));
}

CommandRun MapPlace::RunOn(const std::string& text, const std::vector<std::string>& more) const {
  SetText(text);
  return Run(more);
}

/// timeout(1) kills all that the program has started, too.
void MapPlace::RunAndKill(std::chrono::microseconds after, bool with_tool) const {
  if (!with_tool) {
    test_support::KillCommand(Words(), after);
    return;
  }
  const std::string seconds = std::to_string(static_cast<double>(after.count()) / 1e6);
  std::vector<std::string> words = Words();
  words.insert(words.begin(), {"/usr/bin/timeout", "-s", "KILL", seconds});
  test_support::RunCommand(words);
}

std::string MapPlace::TakeWays() const {
  std::istringstream runs(folder_.ReadText("runs"));
  std::string ways;
  for (std::string run; std::getline(runs, run);) {
    const bool is_put = run.find(" -i -r ") != std::string::npos;
    const bool is_removal = run.find(" -d - ") != std::string::npos;
    ways += (ways.empty() ? "" : " ") + std::string(is_put       ? "put"
                                                    : is_removal ? "remove"
                                                                 : "build");
  }
  folder_.WriteText("runs", "");
  return ways;
}

void MapPlace::SetScript(const std::string& commands) const {
  folder_.WriteText("tool", "#!/bin/sh\necho \"$*\" >> '" + Path("runs").string() + "'\n" +
                                commands + "exec /usr/sbin/" + program_ + " \"$@\"\n");
  test_support::SetMode(Path("tool"), 0755);
}

std::string MapPlace::EntriesOfRebuilt() const {
  folder_.WriteText("rebuilt/table", text());
  const CommandRun run = RunReal({type_ + ":" + Path("rebuilt/table").string()});
  if (run.status != 0) throw std::runtime_error(run.errors);
  return EntriesOf("rebuilt/table");
}

std::vector<std::string> MapPlace::Words(const std::vector<std::string>& more) const {
  std::vector<std::string> words = {std::string(ZEBMAIL_MAPS_FOLDER) + "/zebmail-" + program_,
                                    "--state", Path("state"), "--tool", Path("tool")};
  words.insert(words.end(), more.begin(), more.end());
  words.insert(words.end(), {"-c", Path("postfix"), text_path()});
  return words;
}

CommandRun MapPlace::RunReal(const std::vector<std::string>& words,
                             const std::string& input) const {
  std::vector<std::string> all = {"/usr/sbin/" + program_, "-c", Path("postfix")};
  all.insert(all.end(), words.begin(), words.end());
  return test_support::RunCommand(all, input);
}

/// postalias notes when it has run.
std::string MapPlace::EntriesOf(const std::string& name) const {
  const CommandRun run = RunReal({"-s", type_ + ":" + Path(name).string()});
  if (run.status != 0 || !run.errors.empty()) throw std::runtime_error(run.errors);
  std::istringstream output(run.output);
  std::vector<std::string> lines;
  for (std::string line; std::getline(output, line);) {
    if (!line.starts_with("YP_LAST_MODIFIED:")) lines.push_back(line);
  }
  std::sort(lines.begin(), lines.end());
  std::string text;
  for (const std::string& line : lines) text += line + "\n";
  return text;
}

}  // namespace maps_test
