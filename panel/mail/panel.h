/// NAME
///   panel - the panel, opened for one operation
///
/// PURPOSE
///   Everything that reads or changes the panel does so through one of these, from its first look
///   at the database to its last table file. It takes the lock, so that there is one operation at a
///   time across threads and processes, opens log and database, loads the modules and makes up for
///   the after-save work that an earlier operation left behind.
///
/// HOW A CHANGE RUNS
///   Change() begins a transaction and collects what the work does to the table files. When the
///   work fails, both are dropped and nothing has changed. When it is done, the files are saved in
///   the order in which they were changed and the transaction is committed; when one of that fails,
///   the files come back as they were, and nothing has changed. Then the steps that the work asked
///   for by AfterCommit are taken, and the tools run in the order of their files. A step or a tool
///   may still fail: the failure leaves as PartlyDone, which tells what is outstanding.
///
/// WHEN A PROCESS IS KILLED
///   While files and database are being saved a journal lies in `state_dir`, by which the next
///   operation takes the files back, or leaves them if the database has the change. Where it can do
///   neither, nothing can be changed until somebody has mended the cause; the panel can be looked
///   at.
///
/// ONE PROCESS, ONE CONFIGURATION
///   A process may run any number of operations, one after the other or from several threads. The
///   modules are set up once, with the paths of the first configuration; a second one is refused.
///
/// HOW IT FAILS
///   With fen_err::Error: "config" for a second configuration, and whatever the lock, the database,
///   the modules and the work throw. What is marked for reporting is logged on its way.

#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host/fen_err.h"
#include "panel/conf/operation.h"
#include "panel/db/database.h"
#include "panel/module/config.h"
#include "panel/process/panel_lock.h"

namespace panel::mail {

/// How an operation talks to whoever runs it, beside its result. An empty function is not called.
struct Notices {
  std::function<void()> waiting;                         ///< another operation holds the lock
  std::function<void(const std::string& text)> warning;  ///< lines about what stays undone
};

/// A failure that came when the change had been stored already, so that it stays. It reads like the
/// failure that caused it.
class PartlyDone : public fen_err::Error {
 public:
  PartlyDone(const fen_err::Error& cause, std::string outstanding);

  /// What stays and what is to be done about the rest, in whole lines.
  const std::string& outstanding() const noexcept { return outstanding_; }

 private:
  std::string outstanding_;
};

/// What a change would do.
struct Rehearsal {
  std::vector<conf::Operation::Change> files;  ///< in the order in which they would be saved
  std::vector<db::RowChange> rows;
  std::vector<std::string> tools;  ///< command lines
};

/// Has `step` taken once the change in progress is committed, before its tools run; never in a
/// rehearsal. For what follows from the database and is neither in it nor in a table file. Runs
/// inside the work of Panel::Change or Panel::Rehearse.
void AfterCommit(std::function<void()> step);
using Steps = std::vector<std::function<void()>>;

class Panel {
 public:
  /// What it is opened for.
  enum class Purpose {
    kChange,
    kLook,  ///< and no more, which is possible though a killed change could not be settled
  };

  /// Takes the lock and opens log and database. No module is loaded yet: reading needs none.
  explicit Panel(const Config& config, Notices notices = {}, Purpose purpose = Purpose::kChange);

  Panel(const Panel&) = delete;
  Panel& operator=(const Panel&) = delete;

  /// Runs `work` as one change.
  void Change(const std::function<void()>& work);

  /// Runs `work` and keeps nothing of it, neither in the files nor in the database. Without
  /// `list_rows` the rows that would change are not gathered.
  Rehearsal Rehearse(const std::function<void()>& work, bool list_rows = true);

  /// Why a killed change could not be settled, where that is so: the tables may be as the database
  /// does not say.
  const std::optional<fen_err::Error>& unsettled() const noexcept { return unsettled_; }

 private:
  void SetUpModules();
  void MakeUpPendingWork();
  void SettleKilledChange();
  void ReachDatabase();
  void Save(conf::Operation& operation, std::optional<db::Transaction>& transaction,
            const Steps& steps);
  std::optional<fen_err::Error> Commit(conf::Operation& operation,
                                       std::optional<db::Transaction>& transaction,
                                       const std::string& change);
  bool IsStored(const std::string& change, const fen_err::Error& cause);
  [[noreturn]] void Refuse(const conf::Operation& operation, const fen_err::Error& cause) const;
  std::optional<fen_err::Error> FailureOfTools(const std::function<void()>& tools) const;
  void Warn(const std::string& text) const;

  Notices notices_;
  PanelLock lock_;
  std::optional<db::Database> database_;
  std::optional<fen_err::Error> unsettled_;
  bool is_step_note_own_ = false;  ///< the change in progress has left it, and no earlier one
};

/// The panel, opened to be looked at while others may change it: it takes no lock. The modules are
/// set up, and what they would write is forgotten.
class PanelView {
 public:
  explicit PanelView(const Config& config);

  PanelView(const PanelView&) = delete;
  PanelView& operator=(const PanelView&) = delete;

 private:
  std::optional<db::Database> database_;
};

}  // namespace panel::mail
