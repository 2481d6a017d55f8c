/// NAME
///   update - bringing a map in step with its text
///
/// HOW
///   The text of which the map was made is kept (known_map.h). What differs between it and the text
///   as it is now is put into the map by Postfix's own program, which works on single entries too.
///   Whatever is not certain is no question: then the map is built anew (aside.h), as Postfix's
///   program would without this one.
///
/// WHAT IT DOES NOT SEE
///   What another hand writes into the map within the milliseconds in which entries are changed.
///
/// WHEN IT IS KILLED
///   The record is taken away before the map is touched and comes back when all is done. What was
///   killed in between is not known to the next run, which builds the map anew.

#include "zebmail/maps/update.h"

#include <cstddef>
#include <filesystem>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

#include "panel/process/file_handle.h"
#include "zebmail/maps/aside.h"
#include "zebmail/maps/changes.h"
#include "zebmail/maps/difference.h"
#include "zebmail/maps/file.h"
#include "zebmail/maps/known_map.h"
#include "zebmail/maps/map_file.h"
#include "zebmail/maps/postfix_settings.h"
#include "zebmail/maps/still_text.h"
#include "zebmail/maps/text_line.h"
#include "zebmail/maps/tool.h"

namespace zebmail::maps {
namespace {

namespace fs = std::filesystem;
using panel::FileHandle;

/// Few lines are worth it in any text, however short.
constexpr std::size_t kFewLines = 50;

/// Bytes of text for which one more line may change, before building the whole map is quicker. An
/// lmdb map puts each entry on the disk by itself.
constexpr std::size_t kBytesPerLine = 1000;
constexpr std::size_t kBytesPerLineOfLmdb = 20000;

/// The map is good whether or not anything is known of it the next time.
void WarnOfSlowness(const Arguments& arguments, const FileError& error) {
  std::cerr << arguments.name << ": warning: " << error.what()
            << "; until then whole maps are built\n";
}

std::optional<struct stat> StatusOf(const FileHandle& file) {
  struct stat status {};
  return file && fstat(file.get(), &status) == 0 ? std::optional(status) : std::nullopt;
}

/// Passes on what a tool prints, line by line.
class LinePrinter {
 public:
  explicit LinePrinter(const Aside& aside) : aside_(aside) {}
  ~LinePrinter() { std::cerr << aside_.WithRealNames(rest_) << std::flush; }
  LinePrinter(const LinePrinter&) = delete;
  LinePrinter& operator=(const LinePrinter&) = delete;

  void Print(std::string_view output) {
    rest_ += output;
    const std::size_t end = rest_.rfind('\n') + 1;
    std::cerr << aside_.WithRealNames(rest_.substr(0, end));
    rest_.erase(0, end);
  }

 private:
  const Aside& aside_;
  std::string rest_;
};

/// One run.
class Update {
 public:
  Update(const Arguments& arguments, const fs::path& text, const std::string& type,
         const PostfixSettings& settings)
      : arguments_(arguments),
        text_(text),
        type_(type),
        map_(text.string() + SuffixOf(type)),
        known_(arguments.state_dir, Name(), "type: " + type + "\n" + settings.others) {}

  /// Returns the exit status. Where somebody has worked on the text meanwhile, he may have done so
  /// on the map, too. One who does so without end has the map brought in step after his own
  /// changes, as he would have to with Postfix's program: it is of a text that was there since this
  /// run began.
  int Run() {
    obstacle_ = Aside::FindObstacle(text_, SuffixOf(type_));
    if (obstacle_.empty()) aside_.emplace(text_, SuffixOf(type_));
    if (arguments_.whole) Forget();
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
      const StillText text = ReadStill(text_);
      const int status = BringInStep(text);
      if (status != 0 || IsStill(text, text_)) return status;
      Forget();
    }
    std::cerr << arguments_.name << ": warning: " << text_.string()
              << " changes all the time; the map is of what it just was\n";
    return 0;
  }

 private:
  std::string Name() const { return arguments_.tool.filename().string() + " " + text_.string(); }

  int BringInStep(const StillText& text) {
    std::string why;
    try {
      ChangeEntries(text.bytes);
      return 0;
    } catch (const Uncertain& reason) {
      why = reason.what();
    } catch (const FileError& error) {
      why = error.what();
    }
    Explain("the whole map is built: " + why);
    if (aside_) return BuildAside(text);
    Explain("it is built in place: " + obstacle_);
    return BuildInPlace(text);
  }

  void ChangeEntries(const std::string& text) {
    const FileHandle map = OpenMap(map_);
    const std::optional<struct stat> status = StatusOf(map);
    if (!status) throw Uncertain("there is none yet");
    const std::optional<std::string> before = known_.TextOf(IdentityOf(*status));
    if (!before) throw Uncertain("it is not known of which text the present one is");
    const auto differences = FindDifferences(*before, text, MostLines(text));
    if (!differences) throw Uncertain("too many lines have changed");
    const Changes changes = FindChanges(*before, text, *differences, arguments_.format);

    RequireSame(IdentityOf(*status), StatusOf(map));
    known_.Forget();
    Put(changes.put);
    Remove(changes.remove);
    RequireInPlace(map);
    Keep(Marked(map), text, CommonBeginning(*before, text));
    Explain(std::to_string(changes.put.size()) + " entries put, " +
            std::to_string(changes.remove.size()) + " removed");
  }

  /// Reading has taken its time.
  static void RequireSame(const std::string& identity, const std::optional<struct stat>& now) {
    if (!now || IdentityOf(*now) != identity) throw Uncertain("somebody else works on it");
  }

  void RequireInPlace(const FileHandle& map) const {
    const std::optional<struct stat> changed = StatusOf(map);
    const std::optional<struct stat> now = StatusOf(OpenMap(map_));
    if (!changed || !now || changed->st_ino != now->st_ino) {
      throw Uncertain("somebody has put another one in its place");
    }
  }

  std::size_t MostLines(const std::string& text) const {
    return kFewLines + text.size() / (type_ == "lmdb" ? kBytesPerLineOfLmdb : kBytesPerLine);
  }

  /// postalias renews entries of its own with each run.
  void Put(const std::vector<std::string_view>& lines) const {
    if (lines.empty() && arguments_.format == Format::kPostmap) return;
    std::string input;
    for (const std::string_view line : lines) {
      input += line;
      if (!line.ends_with('\n')) input += '\n';
    }
    Apply({"-i", "-r"}, input);
  }

  void Remove(const std::vector<std::string>& keys) const {
    if (keys.empty()) return;
    std::string input;
    for (const std::string& key : keys) input += key + "\n";
    Apply({"-d", "-"}, input);
  }

  /// A tool that says something about the entries or the map has not done with them what it should.
  void Apply(const Words& options, const std::string& input) const {
    std::string output;
    const int status = RunTool(Command(options, text_), input, Locks(),
                               [&output](std::string_view text) { output += text; });
    std::cerr << output;
    const bool is_of_entries = output.find("stdin") != std::string::npos ||
                               output.find(text_.string()) != std::string::npos;
    if (status != 0 || is_of_entries) {
      throw Uncertain(arguments_.tool.string() + " " + options.front() + " has failed");
    }
  }

  std::vector<int> Locks() const {
    if (!aside_) return {known_.lock()};
    return {known_.lock(), aside_->lock()};
  }

  Words Command(const Words& options, const fs::path& text) const {
    Words words = {arguments_.tool};
    const std::string& config_dir = arguments_.order->config_dir;
    if (!config_dir.empty()) words.insert(words.end(), {"-c", config_dir});
    words.insert(words.end(), options.begin(), options.end());
    words.push_back(type_ + ":" + text.string());
    return words;
  }

  int BuildAside(const StillText& text) {
    const fs::path copy = aside_->WriteText(text.bytes, text.status);
    LinePrinter printer(*aside_);
    const int status = RunTool(Command({}, copy), "", Locks(),
                               [&printer](std::string_view output) { printer.Print(output); });
    if (status != 0) return status;
    const std::optional<struct stat> marked = aside_->Finish();
    Forget();
    aside_->MoveMap();
    KeepWhole(AsMarked(marked), text.bytes);
    return 0;
  }

  /// The tool reads the text by itself. Only if that is the same before and after is it known of
  /// which text the map is.
  int BuildInPlace(const StillText& text) {
    Forget();
    const int status = RunTool(Command({}, text_), "", Locks(),
                               [](std::string_view output) { std::cerr << output; });
    if (status != 0) return status;
    if (IsStill(text, text_) && ReadStill(text_).bytes == text.bytes) {
      KeepWhole(Marked(OpenMap(map_)), text.bytes);
    }
    return 0;
  }

  std::optional<struct stat> Marked(const FileHandle& map) const {
    if (!map) return std::nullopt;
    try {
      return MarkMap(map, map_);
    } catch (const FileError& error) {
      WarnOfSlowness(arguments_, error);
      return std::nullopt;
    }
  }

  /// The map in its place, if it is the marked one and nobody has written to it since.
  std::optional<struct stat> AsMarked(const std::optional<struct stat>& marked) const {
    const std::optional<struct stat> now = StatusOf(OpenMap(map_));
    return marked && now && HasMarkOf(*marked, *now) ? now : std::nullopt;
  }

  void KeepWhole(const std::optional<struct stat>& map, const std::string& text) {
    const std::string oddity = FindOddity(text, arguments_.format);
    if (oddity.empty()) return Keep(map, text, 0);
    Explain("so it will be the next time: " + oddity);
  }

  void Keep(const std::optional<struct stat>& map, const std::string& text, std::size_t same) {
    if (!map) {
      return Explain("so it will be the next time: " + map_.string() +
                     " cannot be marked, or somebody else works on it");
    }
    try {
      known_.Keep(IdentityOf(*map), text, same);
    } catch (const FileError& error) {
      WarnOfSlowness(arguments_, error);
    }
  }

  /// A record that stays by a failure is of another map than the one that is built now.
  void Forget() {
    try {
      known_.Forget();
    } catch (const FileError& error) {
      WarnOfSlowness(arguments_, error);
    }
  }

  void Explain(const std::string& text) const {
    if (arguments_.explain) std::cerr << map_.string() << ": " << text << "\n";
  }

  const Arguments& arguments_;
  fs::path text_;
  std::string type_;
  fs::path map_;
  KnownMap known_;
  std::string obstacle_;        ///< why the map cannot be built aside
  std::optional<Aside> aside_;  ///< none with an obstacle
};

[[noreturn]] void HandOn(const Arguments& arguments) {
  Words words = {arguments.tool};
  words.insert(words.end(), arguments.rest.begin(), arguments.rest.end());
  BecomeTool(words);
}

/// The path of the text without links on its way; nothing when it is no file of this user, whose
/// map Postfix's program makes under another user or refuses to make.
std::optional<fs::path> FindText(const fs::path& path) {
  std::error_code failed;
  const fs::path folder = fs::canonical(fs::absolute(path).parent_path(), failed);
  if (failed) return std::nullopt;
  const fs::path text = folder / path.filename();
  struct stat status {};
  const bool is_own =
      stat(text.c_str(), &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == geteuid();
  return is_own ? std::optional(text) : std::nullopt;
}

}  // namespace

int CarryOut(const Arguments& arguments) {
  if (!arguments.order) HandOn(arguments);
  const std::optional<fs::path> text = FindText(arguments.order->text);
  const std::optional<PostfixSettings> settings = AskPostfix(arguments);
  if (!text || !settings) HandOn(arguments);
  const std::string& named = arguments.order->type;
  const std::string& type = named.empty() ? settings->map_type : named;
  if (!IsChangeable(type)) HandOn(arguments);
  std::optional<Update> update;
  try {
    update.emplace(arguments, *text, type, *settings);
  } catch (const FileError& error) {
    WarnOfSlowness(arguments, error);
    HandOn(arguments);
  }
  return update->Run();
}

}  // namespace zebmail::maps
