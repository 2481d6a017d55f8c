/// NAME
///   panel - the panel, opened for one operation

#include "panel/mail/panel.h"

#include <algorithm>
#include <array>
#include <climits>
#include <exception>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>
#include <tuple>
#include <utility>

#include <unistd.h>

#include "host/str.h"
#include "host/zeb_db.h"
#include "panel/conf/pending.h"
#include "panel/conf/saving_journal.h"
#include "panel/db/url.h"
#include "panel/mail/advice.h"
#include "panel/mail/extensions.h"
#include "panel/mail/main_cf.h"
#include "panel/mail/own_places.h"
#include "panel/mail/postfix_command.h"
#include "panel/mail/responder_checks.h"
#include "panel/mail/step_note.h"
#include "panel/mail/table_path.h"
#include "panel/mail/wake_tables.h"
#include "panel/module/loader.h"
#include "panel/module/log.h"
#include "panel/process/tool_warnings.h"
#include "panel/text/shortened.h"

namespace panel::mail {
namespace {

/// What the process has set up, once for all its operations.
struct SetUp {
  std::mutex mutex;
  std::optional<Config> config;  ///< the one that the modules were set up with
  bool files_owed = false;       ///< they were set up in a rehearsal, and their files not saved
};

SetUp& ProcessSetUp() {
  static SetUp set_up;
  return set_up;
}

bool Same(const Config& left, const Config& right) {
  const auto parts = [](const Config& config) {
    return std::tie(config.file, config.state_dir, config.module_dir, config.database,
                    config.tool_timeout, config.param, config.path);
  };
  return parts(left) == parts(right);
}

/// Puts `config` to use. Once the modules are set up it is in use already, and to put it to use
/// again would forget the path defaults that they have set.
void UseForProcess(const Config& config) {
  SetUp& set_up = ProcessSetUp();
  const std::lock_guard guard(set_up.mutex);
  if (!set_up.config) {
    UseConfig(config);
  } else if (!Same(*set_up.config, config)) {
    throw fen_err::Error("config", config.file.string(),
                         "this process already works with the configuration " +
                             set_up.config->file.string() + "; use another process");
  }
}

/// What AfterCommit collects, while the work of a change runs in this thread.
thread_local Steps* steps_in_progress = nullptr;

class CollectedSteps {
 public:
  CollectedSteps() { steps_in_progress = &steps_; }
  ~CollectedSteps() { steps_in_progress = nullptr; }

  CollectedSteps(const CollectedSteps&) = delete;
  CollectedSteps& operator=(const CollectedSteps&) = delete;

  const Steps& steps() const noexcept { return steps_; }

 private:
  Steps steps_;
};

/// Warnings of tools, in lines, of many the first.
std::string Describe(const std::vector<std::string>& warnings) {
  constexpr std::size_t kMost = 10;
  constexpr std::size_t kLongest = 300;
  std::string text = "what was to be done is done, but a tool warns:\n";
  const std::size_t shown = std::min(warnings.size(), kMost);
  for (std::size_t index = 0; index < shown; ++index) {
    text += Shortened(warnings[index], kLongest) + "\n";
  }
  if (shown < warnings.size()) {
    text += "and " + std::to_string(warnings.size() - shown) + " more warnings\n";
  }
  return text + "what of it concerns the panel, tells: " + Command("check") + "\n";
}

std::filesystem::path LogFile() {
  return CurrentConfig().state_dir / "zebfen.log";
}

/// The folder of the state, looked at before anything in it is opened.
const std::filesystem::path& OwnStateDir(const Config& config) {
  RequireOwnPlaces(config);
  return config.state_dir;
}

/// A database file that is gone must not come back as an empty panel.
void RequireDatabase(const std::string& url) {
  const db::Location location = db::ParseUrl(url);
  if (location.kind != db::Kind::kSqlite || std::filesystem::exists(location.file)) return;
  throw fen_err::Error(
      "missing", location.file.string(),
      "put the panel's database back in place, or make a new one with zebmail init");
}

/// A table that is gone must not come back with no more than the next change puts into it. Those
/// whose paths the modules set by default are known once the modules are set up.
void RequireTables() {
  if (zeb_db::GetCache().Query("SELECT id FROM email_domain LIMIT 1").Eof()) return;
  for (const char* table : {"virtusertable", "localhostnames", "accessdb", "aliases"}) {
    const std::string path = TablePath(table);
    if (path.empty() || std::filesystem::exists(path)) continue;
    throw fen_err::Error("missing", path,
                         "put the table back in place; if it is to be begun anew, make an empty "
                         "file, run zebmail sync and create what is missing");
  }
}

/// Sets up the modules and has nothing of what they write saved.
void RehearseModules(const conf::Operation& rehearsal) {
  SetUp& set_up = ProcessSetUp();
  const std::lock_guard guard(set_up.mutex);
  if (set_up.config) return;
  LoadModules(CurrentConfig().module_dir);
  set_up.config = CurrentConfig();
  set_up.files_owed = !rehearsal.changes().empty();
}

/// Runs `step` and returns how it failed, if it did.
std::optional<fen_err::Error> FailureOf(const std::function<void()>& step) {
  try {
    step();
  } catch (const fen_err::Error& error) {
    LogError("mail", error);
    return error;
  } catch (const std::exception& error) {
    LogError("mail", error);
    return fen_err::Error("failure", error.what(), "");
  }
  return std::nullopt;
}

/// The tools that are outstanding, and what makes up for them.
std::string OutstandingTools() {
  const std::string pending = DescribePendingWork();
  if (pending.empty()) return "";
  return pending + "the next change makes up for it, and so does: " + FixCommand() + "\n";
}

/// Tells panels apart that share a database. Machines that nobody has given a name have the same
/// one.
std::string PanelName() {
  std::array<char, HOST_NAME_MAX + 1> host{};
  gethostname(host.data(), host.size() - 1);
  std::string machine;
  std::getline(std::ifstream("/etc/machine-id") >> std::ws, machine);
  return std::string(host.data()) + ":" + machine + ":" + CurrentConfig().state_dir.string();
}

/// Takes the steps that an earlier change did not come to. What keeps them from being taken is for
/// check to say.
void MakeUpSteps() {
  if (!AreStepsNoted()) return;
  for (const Finding& finding : CheckResponders()) {
    if (finding.fix) finding.fix();
  }
  if (CheckResponders().empty()) ForgetSteps();
}

/// Takes each step and returns how the first that failed did.
std::optional<fen_err::Error> FailureOfSteps(const Steps& steps) {
  std::optional<fen_err::Error> first;
  for (const auto& step : steps) {
    const auto failure = FailureOf(step);
    if (!first && failure) first = *failure;
  }
  return first || steps.empty() ? first : FailureOf(&ForgetSteps);
}

const std::string kChangeIsKept = "the database and the table files hold the change\n";

std::string OutstandingSteps() {
  return "what follows from it is not all done; mend the cause, then run: " + FixCommand() + "\n";
}

}  // namespace

void AfterCommit(std::function<void()> step) {
  if (steps_in_progress == nullptr) {
    throw fen_err::Error("failure", "AfterCommit", "there is no change in progress");
  }
  steps_in_progress->push_back(std::move(step));
}

PartlyDone::PartlyDone(const fen_err::Error& cause, std::string outstanding)
    : fen_err::Error(cause), outstanding_(std::move(outstanding)) {}

Panel::Panel(const Config& config, Notices notices, Purpose purpose)
    : notices_(std::move(notices)), lock_(OwnStateDir(config), notices_.waiting) {
  UseForProcess(config);
  OpenLog(LogFile());
  RequireDatabase(config.database);
  database_.emplace(config.database);
  ForgetExtensions();
  FailureOf(&RemoveCopyOfMainCf);  // is tried again before another one is made
  SettleKilledChange();
  if (!unsettled_) return;
  if (purpose == Purpose::kChange) throw *unsettled_;
  Warn(std::string(unsettled_->what()) + "\n");
}

/// A process that was killed while it saved has left some files new and some old, and so has a
/// change of which the database did not say what became.
void Panel::SettleKilledChange() {
  conf::Settled settled;
  unsettled_ = FailureOf([this, &settled] {
    settled = conf::SettleJournal(
        [this](const std::string& change) { return database_->HasChange(change); });
  });
  if (settled.came_back) Log("mail", "took the table files of a change back that was killed");
  for (const std::string& file : settled.edited) {
    Warn(file + " was edited since the change that wrote it was killed, and stays as it is;\n" +
         "what it has and the panel does not, tells: " + Command("check") + "\n");
  }
}

/// A change of which the database did not say what became has left none.
void Panel::ReachDatabase() {
  if (database_) return;
  database_.emplace(CurrentConfig().database);
  SettleKilledChange();
}

void Panel::Change(const std::function<void()>& work) {
  ReachDatabase();
  if (unsettled_ || conf::IsJournalThere()) SettleKilledChange();
  if (unsettled_) throw *unsettled_;
  RequireTables();
  SetUpModules();
  RequireTables();
  MakeUpPendingWork();
  std::optional<db::Transaction> transaction;
  transaction.emplace(database_.value(), db::Transaction::Changes::kUnlisted);
  conf::Operation operation(conf::Operation::Mode::kBatch);
  const CollectedSteps collected;
  work();
  Save(operation, transaction, collected.steps());
}

Rehearsal Panel::Rehearse(const std::function<void()>& work, bool list_rows) {
  using Changes = db::Transaction::Changes;
  ReachDatabase();
  const db::Transaction transaction(database_.value(),
                                    list_rows ? Changes::kListed : Changes::kUnlisted);
  conf::Operation rehearsal(conf::Operation::Mode::kRehearsal);
  RequireTables();
  RehearseModules(rehearsal);
  RequireTables();
  const CollectedSteps forgotten;
  work();
  rehearsal.RunActions();
  const std::string pending = DescribePendingWork();
  if (!pending.empty()) Warn(pending + "the change would make up for it first\n");
  return {rehearsal.changes(), transaction.changes(), rehearsal.tools()};
}

/// The modules write to table files while they are set up; that is an operation of its own, because
/// they are not set up again when the change that comes after it fails.
void Panel::SetUpModules() {
  SetUp& set_up = ProcessSetUp();
  const std::lock_guard guard(set_up.mutex);
  if (set_up.files_owed) {
    throw fen_err::Error("module", CurrentConfig().module_dir.string(),
                         "was set up in a rehearsal, which kept nothing; use another process");
  }
  if (set_up.config) return;
  const conf::Operation operation(conf::Operation::Mode::kEach);
  const auto failure = FailureOf([] { LoadModules(CurrentConfig().module_dir); });
  if (failure && operation.saved() != 0) throw PartlyDone(*failure, OutstandingTools());
  if (failure) throw *failure;
  set_up.config = CurrentConfig();
}

/// A failure here does not keep the change from being made: it may well run the same tool again.
void Panel::MakeUpPendingWork() {
  conf::RemoveHalfWrittenNotes();
  if (const auto failure = FailureOf(&MakeUpSteps)) {
    Warn(std::string("outstanding work failed again: ") + failure->what() + "\n" +
         OutstandingSteps());
  }
  if (conf::ListPendingWork().empty()) return;
  WakeTables(*database_);
  std::string failure;
  if (const auto error = FailureOfTools([] { conf::MakeUpPendingWork(); })) {
    failure = std::string("outstanding work failed again: ") + error->what();
    failure.erase(failure.find_last_not_of('\n') + 1) += '\n';
  }
  const std::string pending = DescribePendingWork();
  if (pending.empty() && failure.empty()) return;
  Warn(failure + pending + "mend the cause, then run: " + FixCommand() + "\n");
}

/// Files and database change together, or neither does: what a killed process leaves in between is
/// settled by the next one. The tools come last, since they may run for long.
void Panel::Save(conf::Operation& operation, std::optional<db::Transaction>& transaction,
                 const Steps& steps) {
  is_step_note_own_ = !steps.empty() && NoteSteps();
  const std::string change =
      std::to_string(str::Random<std::uint64_t>()) + std::to_string(str::Random<std::uint64_t>());
  try {
    operation.Save(change);
  } catch (const fen_err::Error& error) {
    Refuse(operation, error);
  }
  const auto commit_failure = Commit(operation, transaction, change);
  const auto clearing_failure = FailureOf([&operation] { operation.Keep(); });
  const auto step_failure = FailureOfSteps(steps);
  const auto tool_failure = FailureOfTools([&operation] { operation.RunActions(); });

  if (commit_failure) throw PartlyDone(*commit_failure, kChangeIsKept + OutstandingTools());
  if (clearing_failure) {
    throw PartlyDone(*clearing_failure,
                     kChangeIsKept + "the next operation removes what is left beside them\n" +
                         OutstandingTools());
  }
  if (step_failure) {
    throw PartlyDone(*step_failure, kChangeIsKept + OutstandingSteps() + OutstandingTools());
  }
  if (tool_failure) {
    throw PartlyDone(*tool_failure, kChangeIsKept + OutstandingTools());
  }
}

/// Returns the failure of a commit that has stored the change all the same.
std::optional<fen_err::Error> Panel::Commit(conf::Operation& operation,
                                            std::optional<db::Transaction>& transaction,
                                            const std::string& change) {
  try {
    operation.saved() == 0 ? transaction->Commit() : transaction->Commit(PanelName(), change);
  } catch (const fen_err::Error& error) {
    if (operation.saved() == 0) throw;
    transaction.reset();
    if (IsStored(change, error)) return error;
    operation.TakeBack();
    Refuse(operation, error);
  }
  return std::nullopt;
}

/// A server may have stored the change though its answer did not come through, and says so once it
/// can be reached again. SQLite may have written the change into its log and failed behind that; it
/// reads the log when the database is opened anew, and then knows.
bool Panel::IsStored(const std::string& change, const fen_err::Error& cause) {
  bool is_stored = false;
  const auto ask = [&] {
    database_.reset();
    database_.emplace(CurrentConfig().database);
    is_stored = database_->HasChange(change);
  };
  if (!FailureOf(ask)) return is_stored;
  throw PartlyDone(cause,
                   "whether the database holds the change is not known yet; the next operation "
                   "finds out, and puts the old table files back if it does not\n");
}

/// The database does not hold the change, so that no step follows from it. Where a table file could
/// not be put back, the journal is still there.
void Panel::Refuse(const conf::Operation& operation, const fen_err::Error& cause) const {
  if (is_step_note_own_) FailureOf(&ForgetSteps);
  if (!operation.owes_files()) throw cause;
  throw PartlyDone(cause,
                   "not every table file could be put back; the database does not hold the change, "
                   "and the next operation puts the old files back\n");
}

/// Runs the tools, passes on what they warn of, and returns how the first that failed did. Postfix
/// reads what it was to be told to read when it starts.
std::optional<fen_err::Error> Panel::FailureOfTools(const std::function<void()>& tools) const {
  const ToolWarnings warnings;
  auto failure = FailureOf(tools);
  if (!warnings.lines().empty()) Warn(Describe(warnings.lines()));
  if (!failure || !IsNeedlessReload(*failure)) return failure;
  ForgetReloads();
  Warn("Postfix does not run; it reads the change when it starts\n");
  if (conf::ListPendingWork().empty()) return std::nullopt;
  return failure;
}

void Panel::Warn(const std::string& text) const {
  if (notices_.warning) notices_.warning(text);
}

PanelView::PanelView(const Config& config) {
  RequireOwnPlaces(config);
  UseForProcess(config);
  OpenLog(LogFile());
  RequireDatabase(config.database);
  database_.emplace(config.database);
  const conf::Operation rehearsal(conf::Operation::Mode::kRehearsal);
  RehearseModules(rehearsal);
}

}  // namespace panel::mail
