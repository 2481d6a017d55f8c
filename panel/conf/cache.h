/// NAME
///   cache - the tables that plug-ins have described, and the files lately used
///
/// PURPOSE
///   Behind ConfCache. A parsed file stays for the next operation, unless it changed on disk or too
///   many others were used since.

#pragma once

#include <cstddef>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "panel/conf/file.h"
#include "panel/conf/table.h"

namespace panel::conf {

class Cache {
 public:
  explicit Cache(std::size_t files);
  ~Cache();

  Cache(const Cache&) = delete;
  Cache& operator=(const Cache&) = delete;

  /// The cache of this process, which lives as long as the process; null before a plug-in made it.
  static Cache* Known();

  void Register(const std::string& name, const std::shared_ptr<fen_token::Params>& params);
  bool HasTable(const std::string& name) const;

  /// The table `name`. Throws fen_err::Error("table", name, "") when it is not registered.
  Table& TableOf(const std::string& name);

  /// The file at `path` as a file of the table, read again if it changed on disk.
  std::shared_ptr<File> Open(const std::string& name, const std::string& path, bool create);

  /// Forgets a file whose text in memory is not to be used again.
  void Forget(const File& file);

  /// Runs the after-save action of a file of the table `name` that was saved earlier.
  void MakeUp(const std::string& name, const std::string& path);

 private:
  void Trim();

  const std::size_t limit_;
  mutable std::recursive_mutex mutex_;
  std::map<std::string, Table> tables_;
  std::list<std::shared_ptr<File>> files_;
};

}  // namespace panel::conf
