/// NAME
///   next_step - what an administrator can do about an error

#include "zebmail/next_step.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "panel/mail/advice.h"
#include "panel/module/config.h"

namespace zebmail {
namespace {

/// A name or nothing; a sentence says for itself what is to be done.
bool IsName(std::string_view value) {
  return value.find(' ') == std::string_view::npos;
}

bool IsAny(std::string_view) {
  return true;
}

bool IsUseOfName(std::string_view value) {
  return value.find(" is ") != std::string_view::npos && value.find(';') == std::string_view::npos;
}

/// What to do about errors of one form. "{value}" stands for the error's value as a shell takes it,
/// "{config}" for the configuration file and "{log}" for the panel's log.
struct Rule {
  std::string_view type;
  std::string_view object;  ///< empty for any, "/" for any path
  bool (*fits)(std::string_view value);
  std::string_view step;
  std::string_view command;  ///< of zebmail, to be run for it; may be empty
};

constexpr std::string_view kSeeAll = "see which there are";
constexpr std::string_view kLookIntoLog =
    "this is a fault of the program or of the machine; see what the log says: {log}";

constexpr std::array<Rule, 30> kRules = {{
    {"missing", "domain", &IsName, kSeeAll, "domain list"},
    // Not the list of its domain, which need not be there either.
    {"missing", "mailbox", &IsName, kSeeAll, "mailbox list"},
    {"missing", "alias", &IsName, kSeeAll, "alias list MAILBOX"},
    {"missing", "forward", &IsName, kSeeAll, "forward list MAILBOX"},
    {"missing", "web domain", &IsName, kSeeAll, "webdomain list"},
    {"missing", "whitelist", &IsName, kSeeAll, "whitelist list"},
    {"missing", "blacklist", &IsName, kSeeAll, "blacklist list"},
    {"missing", "/", &IsName,
     "the table lacks the line that the panel has written; see what else differs", "check"},
    {"exists", "domain", &IsName, "it is there already; see it", "domain show {value}"},
    {"exists", "web domain", &IsName, "it is there already; see all", "webdomain list"},
    {"exists", "forward", &IsName, "it gets a copy already: leave it out", ""},
    {"exists", "whitelist", &IsName, "it is listed already: leave it out", ""},
    {"exists", "blacklist", &IsName, "it is listed already: leave it out", ""},
    {"exists", "mailbox", &IsUseOfName,
     "a name in a domain is one mailbox or one alias: take another, or remove that one first", ""},
    {"exists", "alias", &IsUseOfName,
     "a name in a domain is one mailbox or one alias: take another, or remove that one first", ""},
    {"changed", "", &IsName,
     "somebody else has changed it meanwhile, and it is not overwritten: run the command again",
     ""},
    {"email", "postfix-postmap", &IsAny, "mend what the tool names, then run the command again",
     ""},
    {"email", "postfix-postalias", &IsAny, "mend what the tool names, then run the command again",
     ""},
    {"email", "postmap", &IsAny, "mend what the tool names, then run", "check --fix"},
    {"module", "/", &IsAny,
     "the plug-in that came with this zebmail belongs there; module_dir in {config} names the "
     "folder",
     ""},
    {"diff", "/", &IsAny, "see that diff(1) is there: apt-get install diffutils", ""},
    {"failure", "", &IsAny, kLookIntoLog, ""},
    {"grammar", "", &IsAny, kLookIntoLog, ""},
    {"operation", "", &IsAny, kLookIntoLog, ""},
    {"process", "", &IsAny, kLookIntoLog, ""},
    {"random", "", &IsAny, kLookIntoLog, ""},
    {"record", "", &IsAny, kLookIntoLog, ""},
    {"system", "", &IsAny, kLookIntoLog, ""},
    {"table", "", &IsAny, kLookIntoLog, ""},
    {"token", "", &IsAny, kLookIntoLog, ""},
}};

/// What to do about a cause, by the words in which the system, the database or the panel tells it
/// at the end of an error. The command is to be run again afterwards.
struct Cause {
  std::string_view words;
  std::string_view step;
};

constexpr std::string_view kMakeRoom = "make room on that file system";
constexpr std::string_view kMakeWritable = "make that file system one that can be written";
constexpr std::string_view kSeeKernel = "see what the kernel says of the disk (dmesg)";

constexpr std::array<Cause, 18> kCauses = {{
    {"No space left on device", kMakeRoom},
    {"Disk quota exceeded", kMakeRoom},
    {"database or disk is full", kMakeRoom},
    {"Read-only file system", kMakeWritable},
    {"attempt to write a readonly database", kMakeWritable},
    {"Input/output error", kSeeKernel},
    {"disk I/O error", kSeeKernel},
    {"Permission denied", "be root, or see to the rights of the file and of the folders above it"},
    {"Operation not permitted", "see whether the file may not be changed by anybody (lsattr)"},
    {"No such file or directory", "put it in place, or name another one"},
    {"a file that does not exist", "put that file in place, or remove the link"},
    {"File too large", "raise the limit on the size of files (ulimit -f)"},
    {"Too many open files", "raise the limit on open files (ulimit -n)"},
    {"Cannot allocate memory", "see what takes the memory of the machine"},
    {"database is locked", "end what else works on the database"},
    {"is not a regular file", "move it away, or name another one"},
    {"is not a folder", "move it away"},
    {"cannot be read", "name a file that can be read"},
}};

/// Whether it is about a line of a file that was to be brought in, "FILE:3".
bool IsOfLine(const std::string& object) {
  const std::size_t colon = object.rfind(':');
  return colon != std::string::npos && colon + 1 < object.size() &&
         object.find_first_not_of("0123456789", colon + 1) == std::string::npos;
}

bool Fits(const Rule& rule, const fen_err::Error& error) {
  const std::string& object = error.object();
  const bool is_object = rule.object.empty() || rule.object == object ||
                         (rule.object == "/" && object.starts_with('/'));
  return rule.type == error.type() && is_object && rule.fits(error.value());
}

/// What stands for `name` in a rule.
std::string Meaning(std::string_view name, const fen_err::Error& error) {
  const panel::Config& config = panel::CurrentConfig();
  if (name == "{config}") return config.file;
  if (name == "{log}") return config.state_dir / "zebfen.log";
  return panel::mail::ShellWord(error.value());
}

/// What an error says is put in once, whatever braces it has.
std::string Filled(std::string_view text, const fen_err::Error& error) {
  const std::size_t begin = text.find('{');
  if (begin == std::string_view::npos) return std::string(text);
  const std::size_t end = text.find('}', begin) + 1;
  return std::string(text.substr(0, begin)) + Meaning(text.substr(begin, end - begin), error) +
         std::string(text.substr(end));
}

std::string StepOf(const Rule& rule, const fen_err::Error& error) {
  std::string step = Filled(rule.step, error);
  if (rule.command.empty()) return step;
  return step + ": " + panel::mail::Command(Filled(rule.command, error));
}

std::string StepAbout(const std::string& words) {
  for (const Cause& cause : kCauses) {
    if (words.ends_with(cause.words)) {
      return std::string(cause.step) + ", then run the command again";
    }
  }
  return "";
}

}  // namespace

std::string NextStep(const fen_err::Error& error) {
  if (error.type() != "config" && IsOfLine(error.object())) {
    return "nothing is brought in: mend the line, then run the command again";
  }
  const auto* const rule = std::find_if(kRules.begin(), kRules.end(),
                                        [&error](const Rule& one) { return Fits(one, error); });
  return rule != kRules.end() ? StepOf(*rule, error) : StepAbout(error.value());
}

}  // namespace zebmail
