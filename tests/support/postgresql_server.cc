/// NAME
///   postgresql_server - a private PostgreSQL server

#include "tests/support/postgresql_server.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <stdexcept>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <pwd.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "panel/db/connection.h"
#include "tests/support/command.h"

namespace test_support {
namespace {

namespace fs = std::filesystem;

/// Where Debian keeps the server's programs, of the newest version; empty without any.
fs::path ProgramFolder() {
  std::vector<fs::path> folders;
  const fs::path versions = "/usr/lib/postgresql";
  if (!fs::is_directory(versions)) return {};
  for (const auto& version : fs::directory_iterator(versions)) {
    const fs::path programs = version.path() / "bin";
    if (fs::exists(programs / "initdb")) folders.push_back(programs);
  }
  return folders.empty() ? fs::path() : *std::max_element(folders.begin(), folders.end());
}

/// PostgreSQL refuses to run as root.
const passwd& ServerUser() {
  const passwd* user = getuid() != 0 ? getpwuid(getuid()) : getpwnam("postgres");
  if (user == nullptr) user = getpwnam("nobody");
  if (user == nullptr) throw std::runtime_error("no user to run PostgreSQL as");
  return *user;
}

/// The words that run a program of the server: as its user, and until this process ends. SIGQUIT
/// makes the server go at once, with all its processes.
std::vector<std::string> ServerWords(const std::string& program,
                                     const std::vector<std::string>& arguments) {
  std::vector<std::string> words = {"setpriv", "--pdeathsig", "QUIT"};
  if (getuid() == 0) {
    words.insert(words.end(), {"--reuid", std::to_string(ServerUser().pw_uid), "--regid",
                               std::to_string(ServerUser().pw_gid), "--clear-groups"});
  }
  words.insert(words.end(), {"--", ProgramFolder() / program});
  words.insert(words.end(), arguments.begin(), arguments.end());
  return words;
}

}  // namespace

bool PostgresqlServer::IsInstalled() {
  return !ProgramFolder().empty();
}

std::string PostgresqlUrl(const fs::path& folder, const std::string& name) {
  return "postgresql:///" + name + "?host=" + folder.string() + "&user=panel";
}

PostgresqlServer::PostgresqlServer(bool waits_for_disk)
    : home_(folder_.Path("server")), waits_for_disk_(waits_for_disk) {
  MakeHome();
  Start();
}

PostgresqlServer::~PostgresqlServer() {
  Stop();
}

void PostgresqlServer::Stop() {
  if (process_ == 0) return;
  kill(process_, SIGQUIT);
  waitpid(process_, nullptr, 0);
  process_ = 0;
}

void PostgresqlServer::MakeHome() const {
  fs::create_directory(home_);
  if (getuid() == 0) {
    SetOwner(home_, {ServerUser().pw_uid, ServerUser().pw_gid});
  }
  const auto run =
      RunCommand(ServerWords("initdb", {"-D", home_ / "data", "-A", "trust", "-U", "panel", "-E",
                                        "UTF8", "--locale=C", "--no-sync"}));
  if (run.status != 0) throw std::runtime_error("initdb: " + run.output + run.errors);
}

void PostgresqlServer::Start() {
  const std::vector<std::string> words =
      ServerWords("postgres", {"-D", home_ / "data", "-k", home_, "-c", "listen_addresses=", "-c",
                               waits_for_disk_ ? "fsync=on" : "fsync=off", "-c",
                               "synchronous_standby_names=gone", "-c", "synchronous_commit=local"});
  std::vector<char*> pointers;
  pointers.reserve(words.size() + 1);
  for (const std::string& word : words) pointers.push_back(const_cast<char*>(word.c_str()));
  pointers.push_back(nullptr);

  const std::string log = home_ / "log";
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, log.c_str(), O_WRONLY | O_CREAT, 0600);
  posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
  const int error =
      posix_spawnp(&process_, pointers[0], &actions, nullptr, pointers.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) throw std::runtime_error("the PostgreSQL server cannot be started");
  WaitUntilReady();
}

/// Waits until it answers, or has ended.
void PostgresqlServer::WaitUntilReady() const {
  const std::string ask = ProgramFolder() / "pg_isready";
  while (RunCommand({ask, "-q", "-h", home_, "-U", "panel"}).status != 0) {
    if (waitpid(process_, nullptr, WNOHANG) != 0) {
      throw std::runtime_error("PostgreSQL: " + ReadText(home_ / "log"));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

std::string PostgresqlServer::MakeDatabase() {
  const std::string name = "panel" + std::to_string(++databases_);
  panel::db::Connection(Url("postgres")).Query("CREATE DATABASE " + name);
  return Url(name);
}

int PostgresqlServer::EndConnections(const std::string& url) const {
  return std::stoi(Ask(Url("postgres"),
                       "SELECT count(pg_terminate_backend(pid, 10000)) FROM pg_stat_activity"
                       " WHERE datname = '" +
                           NameIn(url) + "'"));
}

std::string PostgresqlServer::NameIn(const std::string& url) {
  const std::size_t begin = std::string("postgresql:///").size();
  return url.substr(begin, url.find('?') - begin);
}

std::string PostgresqlServer::Ask(const std::string& url, const std::string& query) {
  return std::string(panel::db::Connection(url).Query(query).Cell(0));
}

void PostgresqlServer::HoldCommits(const std::string& url) const {
  panel::db::Connection(Url("postgres"))
      .Query("ALTER DATABASE " + NameIn(url) + " SET synchronous_commit = on");
}

void PostgresqlServer::ReleaseCommits(const std::string& url) const {
  panel::db::Connection(Url("postgres"))
      .Query("ALTER DATABASE " + NameIn(url) + " RESET synchronous_commit");
}

void PostgresqlServer::WaitForHeldCommit() const {
  while (Ask(Url("postgres"),
             "SELECT count(*) FROM pg_stat_activity WHERE wait_event = 'SyncRep'") == "0") {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

}  // namespace test_support
