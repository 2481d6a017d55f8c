/// NAME
///   file_stamps - which files have changed since they were last read into the database

#include <filesystem>
#include <mutex>
#include <optional>

#include "host/zeb_db.h"
#include "panel/conf/disk_file.h"
#include "panel/db/connection.h"
#include "panel/db/sql_text.h"

namespace panel::db {
namespace {

std::string Text(const timespec& time) {
  return std::to_string(time.tv_sec) + "." + std::to_string(time.tv_nsec);
}

/// What tells one state of the file from another, as text.
std::string StampText(const std::string& path) {
  const std::optional<conf::FileStamp> stamp = conf::StampOf(path);
  if (!stamp) return "missing";
  return std::to_string(stamp->device) + " " + std::to_string(stamp->inode) + " " +
         std::to_string(stamp->size) + " " + Text(stamp->modified) + " " + Text(stamp->changed);
}

bool IsRecorded(Connection& connection, const std::string& path, const std::string& stamp) {
  const Rows rows =
      connection.Query("SELECT stamp FROM file_stamp WHERE path = " + Quote(path, "path"));
  return !rows.Eof() && rows.Cell(0) == stamp;
}

void Record(Connection& connection, const std::string& path, const std::string& stamp) {
  connection.Query("INSERT INTO file_stamp (path, stamp) VALUES (" + Quote(path, "path") + ", " +
                   Quote(stamp, "stamp") +
                   ") ON CONFLICT (path) DO UPDATE SET stamp = excluded.stamp");
}

FileAnswer Examine(Connection& connection, const std::string& path) {
  const std::string stamp = StampText(path);
  return {!IsRecorded(connection, path, stamp), stamp};
}

/// The answer in the operation in progress. The stamp is the one from before the pass: a change
/// that comes while the pass reads the file is seen by the next one.
FileAnswer Answer(Connection& connection, const std::string& path) {
  Journal* const journal = connection.journal();
  if (journal == nullptr) return Examine(connection, path);
  const auto known = journal->files.find(path);
  if (known != journal->files.end()) return known->second;
  FileAnswer answer = Examine(connection, path);
  if (answer.changed) Record(connection, path, answer.stamp);
  journal->files.emplace(path, answer);
  return answer;
}

}  // namespace
}  // namespace panel::db

bool zeb_db::FileIsChanged(const std::string& path, std::string& stamp) {
  panel::db::Connection& connection = panel::db::CurrentConnection();
  const std::lock_guard lock(connection.mutex());
  const std::filesystem::path whole = std::filesystem::absolute(path).lexically_normal();
  const panel::db::FileAnswer answer = panel::db::Answer(connection, whole.string());
  stamp = answer.stamp;
  return answer.changed;
}
