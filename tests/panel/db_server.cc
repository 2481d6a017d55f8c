/// NAME
///   db_server - a private PostgreSQL server

#include "tests/panel/db_server.h"

#include <algorithm>
#include <stdexcept>

#include <pwd.h>
#include <unistd.h>

#include "panel/db/connection.h"
#include "tests/support/command.h"

namespace db_test {
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

}  // namespace

bool PostgresqlServer::IsInstalled() {
  return !ProgramFolder().empty();
}

PostgresqlServer::PostgresqlServer() : home_(folder_.Path("server")) {
  fs::create_directory(home_);
  if (getuid() == 0) {
    test_support::SetOwner(home_, {ServerUser().pw_uid, ServerUser().pw_gid});
  }
  Run("initdb", {"-D", home_ / "data", "-A", "trust", "-U", "panel", "-E", "UTF8", "--locale=C",
                 "--no-sync"});
  Run("pg_ctl", {"-D", home_ / "data", "-l", home_ / "log", "-w", "-o",
                 "-c listen_addresses='' -c fsync=off -k " + home_.string(), "start"});
}

PostgresqlServer::~PostgresqlServer() {
  try {
    Run("pg_ctl", {"-D", home_ / "data", "-w", "-m", "immediate", "stop"});
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
  }
}

std::string PostgresqlServer::Url(const std::string& name) const {
  return "postgresql:///" + name + "?host=" + home_.string() + "&user=panel";
}

std::string PostgresqlServer::MakeDatabase() {
  const std::string name = "panel" + std::to_string(++databases_);
  panel::db::Connection(Url("postgres")).Query("CREATE DATABASE " + name);
  return Url(name);
}

void PostgresqlServer::Run(const std::string& program,
                           const std::vector<std::string>& arguments) const {
  std::vector<std::string> words = {ProgramFolder() / program};
  if (getuid() == 0) words.insert(words.begin(), {"runuser", "-u", ServerUser().pw_name, "--"});
  words.insert(words.end(), arguments.begin(), arguments.end());
  const auto run = test_support::RunCommand(words);
  if (run.status != 0) throw std::runtime_error(program + ": " + run.output + run.errors);
}

}  // namespace db_test
