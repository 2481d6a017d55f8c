/// NAME
///   busy_panel - a panel with something of everything, which can be put back to how it was

#include "tests/reliability/busy_panel.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <sstream>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/lines.h"

namespace reliability {

namespace fs = std::filesystem;

namespace {

constexpr int kManyMailboxes = 400;

/// Where the panel and Postfix's configuration lie.
constexpr std::array<const char*, 2> kFolders = {"panel", "config"};

struct Map {
  const char* table;
  const char* tool;
};
constexpr std::array<Map, 3> kMaps = {
    {{"virtusertable", "postmap"}, {"access", "postmap"}, {"aliases", "postalias"}}};

std::string Lines() {
  std::string lines =
      R"({"type":"webdomain","name":"web.example","owner":3}
{"type":"domain","name":"error.example"}
{"type":"domain","name":"ignore.example","defaction":"ignore"}
{"type":"domain","name":"redirected.example","defaction":"redir_email","redirect":"info@example.net"}
{"type":"domain","name":"moved.example","defaction":"redir_domain","redirect":"example.net"}
{"type":"domain","name":"suspended.example","active":false}
{"type":"domain","name":"bound.example","ip":"127.0.0.2"}
{"type":"domain","name":"many.example"}
{"type":"mailbox","address":"info@error.example","aliases":["sales","office"],"forwards":["boss@example.net"]}
{"type":"mailbox","address":"drop@error.example","dropmail":true,"forwards":["boss@example.net"]}
{"type":"mailbox","address":"quiet@error.example","active":false,"aliases":["silent"],"forwards":["boss@example.net"]}
{"type":"mailbox","address":"away@error.example","responder":true,"subject":"Away","text":"Back on Monday.\n"}
{"type":"mailbox","address":"here@error.example","responder":false,"subject":"Away","text":"Back on Monday.\n"}
{"type":"mailbox","address":"info@bound.example","aliases":["sales"]}
{"type":"whitelist","value":"friend.example"}
{"type":"whitelist","value":"192.0.2.7"}
{"type":"blacklist","value":"foe@sender.example"}
{"type":"blacklist","value":"192.0.2.66"}
)";
  for (int number = 0; number < kManyMailboxes; ++number) {
    lines += R"({"type":"mailbox","address":"user)" + std::to_string(number) +
             R"(@many.example","aliases":["alias)" + std::to_string(number) + "\"]}\n";
  }
  return lines;
}

void Do(const Words& words) {
  const CommandRun run = test_support::RunCommand(words);
  if (run.status != 0) throw std::runtime_error(words.front() + ": " + run.errors);
}

bool IsMap(const fs::path& path) {
  return path.extension() == ".db" && path.parent_path().filename() == "mail";
}

/// The panel's own bookkeeping, which is looked at by its commands or not at all.
bool IsBookkeeping(const fs::path& path) {
  static const std::array<std::string, 6> kNames = {"panel.db", "panel.db-wal", "panel.db-shm",
                                                    "lock",     "zebfen.log",   "made"};
  return std::find(kNames.begin(), kNames.end(), path.filename().string()) != kNames.end();
}

/// Notes of what is to be done, and files that are about to be put in place.
bool IsOnItsWay(const fs::path& path) {
  const std::string name = path.filename();
  return name.ends_with(".zebmail") || name == "steps" || name == "saving" ||
         path.parent_path().filename() == "pending" || path.parent_path().filename() == "main.cf";
}

std::vector<fs::path> FilesBelow(const fs::path& folder) {
  std::vector<fs::path> files;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
    if (!entry.is_directory()) files.push_back(entry.path());
  }
  return files;
}

/// All that the map of the table at `path` holds, but for what postalias adds for NIS.
std::vector<std::string> Contents(const std::string& config, const std::string& path) {
  const CommandRun run =
      test_support::RunCommand({"/usr/sbin/postmap", "-c", config, "-s", "hash:" + path});
  if (run.status != 0 || !run.errors.empty()) return {"cannot be read: " + run.errors};
  std::string lines;
  std::istringstream stream(run.output);
  for (std::string line; std::getline(stream, line);) {
    if (!line.starts_with("YP_") && !line.starts_with("@\t")) lines += line + "\n";
  }
  return test_support::SortedLines(lines);
}

}  // namespace

void LeaveOutCopies(State& state, const std::string& main_cf) {
  for (auto file = state.files.begin(); file != state.files.end();) {
    const bool is_copy =
        file->first.find("main.cf.zebmail-") != std::string::npos && file->second == main_cf;
    if (is_copy) state.names.erase(file->first);
    file = is_copy ? state.files.erase(file) : std::next(file);
  }
}

std::string TextOr(const Files& files, const std::string& name) {
  const auto file = files.find(name);
  return file == files.end() ? "(there is none)" : file->second;
}

BusyPanel::BusyPanel() {
  const std::string told = panel_.Path("told");
  if (mkfifo(told.c_str(), 0600) != 0) throw std::system_error(errno, std::generic_category());
  // Open for writing too, so that no tool waits for somebody to read.
  told_ = panel::FileHandle(open(told.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
  if (!told_) throw std::system_error(errno, std::generic_category(), told);
  fs::create_directory(panel_.Path("tools"));
  fs::create_symlink("/usr/sbin/postconf", panel_.Path("tools/postconf"));
  for (const char* tool : {"postmap", "postalias"}) WriteTool(tool);
  Fill();
  for (const char* folder : kFolders) {
    fs::create_directories(Kept(""));
    Do({"/bin/cp", "-a", panel_.Path(folder), Kept(folder)});
  }
  panel_.KeepDatabase();
  PutBack();
  ForgetTools();
}

void BusyPanel::WriteTool(const std::string& name) const {
  const std::string path =
      panel_.folder().WriteText("tools/" + name, "#!/bin/sh\necho $$ > '" + panel_.Path("told") +
                                                     "'\nexec /usr/sbin/" + name + " \"$@\"\n");
  test_support::SetMode(path, 0755);
  panel_.Configure("postfix-" + name, path + " -c " + panel_.Path("config"));
}

/// Fills the panel, and gives main.cf back the age that the tools do not wait for.
void BusyPanel::Fill() const {
  const CommandRun run = Run({"import", "-"}, Lines());
  if (run.status != 0) throw std::runtime_error(run.errors);
  MakeMainCfOld();
}

Words BusyPanel::CommandLine(const Words& words) const {
  Words line = {ZEBMAIL_BINARY, "--config", panel_.config()};
  line.insert(line.end(), words.begin(), words.end());
  return line;
}

Files BusyPanel::ReadFiles() const {
  Files files;
  for (const char* folder : kFolders) {
    for (const fs::path& path : FilesBelow(panel_.Path(folder))) {
      if (IsMap(path) || IsBookkeeping(path) || IsOnItsWay(path)) continue;
      files[Name(path)] = test_support::ReadText(path);
    }
  }
  return files;
}

State BusyPanel::Look() const {
  State state;
  const CommandRun run = Run({"export"});
  state.database = run.status == 0 ? run.output : "cannot be shown: " + run.errors;
  state.files = ReadFiles();
  for (const char* folder : kFolders) {
    for (const fs::path& path : FilesBelow(panel_.Path(folder))) state.names.insert(Name(path));
  }
  return state;
}

std::string BusyPanel::Name(const fs::path& path) const {
  return path.lexically_relative(panel_.folder().path());
}

/// A map that is older than its text would pass for a stale one.
void BusyPanel::PutBack() const {
  panel_.PutDatabaseBack();
  for (const char* folder : kFolders) {
    fs::remove_all(panel_.Path(folder));
    Do({"/bin/cp", "-a", Kept(folder), panel_.Path(folder)});
  }
  for (const fs::path& path : FilesBelow(panel_.Path("panel/mail"))) {
    if (IsMap(path)) fs::last_write_time(path, fs::file_time_type::clock::now());
  }
}

void BusyPanel::MakeMainCfOld() const {
  test_support::MakeOld(panel_.Path("config/main.cf"));
}

std::optional<pid_t> BusyPanel::NextTool(std::chrono::milliseconds patience) const {
  const auto end = std::chrono::steady_clock::now() + patience;
  std::string line;
  for (;;) {
    char character = 0;
    if (read(told_.get(), &character, 1) == 1) {
      if (character == '\n') return std::stoi(line);
      line += character;
      continue;
    }
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
    pollfd more{told_.get(), POLLIN, 0};
    if (left.count() <= 0 || poll(&more, 1, static_cast<int>(left.count())) < 0) return {};
  }
}

int BusyPanel::ForgetTools() const {
  int tools = 0;
  while (NextTool(std::chrono::milliseconds(0))) ++tools;
  return tools;
}

std::string BusyPanel::FaultOfMaps() const {
  const std::string config = panel_.Path("config");
  std::string faults;
  for (const Map& map : kMaps) {
    const std::string table = panel_.Path(std::string("panel/mail/") + map.table);
    const std::string copy = panel_.folder().WriteText("fresh", test_support::ReadText(table));
    Do({std::string("/usr/sbin/") + map.tool, "-c", config, "hash:" + copy});
    if (Contents(config, table) != Contents(config, copy)) {
      faults += std::string("the map of ") + map.table + " is not that of its text\n";
    }
  }
  return faults;
}

}  // namespace reliability
