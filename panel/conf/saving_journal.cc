/// NAME
///   saving_journal - a note on disk of table files that are being replaced together
///
/// WHAT IT IS
///   The file STATE_DIR/saving: fields that end in a NUL, first the name of the change, then four
///   for each file, see struct Replaced.

#include "panel/conf/saving_journal.h"

#include <cerrno>
#include <charconv>
#include <cstring>
#include <optional>
#include <string_view>

#include <unistd.h>

#include "host/fen_err.h"
#include "panel/module/config.h"

namespace panel::conf {
namespace {

struct Journal {
  std::string change;
  std::vector<Replaced> files;
};

std::string Path() {
  return CurrentConfig().state_dir / "saving";
}

[[noreturn]] void Refuse(const std::string& why) {
  throw fen_err::Error("file", Path(), why);
}

class Fields {
 public:
  explicit Fields(std::string_view text) : text_(text) {}

  bool IsAtEnd() const { return text_.empty(); }

  std::string Next() {
    const std::size_t end = text_.find('\0');
    if (end == std::string_view::npos) Refuse("is no journal of a change");
    std::string field(text_.substr(0, end));
    text_.remove_prefix(end + 1);
    return field;
  }

  std::uint64_t NextNumber() {
    const std::string field = Next();
    std::uint64_t number = 0;
    const char* const end = field.data() + field.size();
    const auto [place, error] = std::from_chars(field.data(), end, number);
    if (error != std::errc() || place != end) Refuse("is no journal of a change");
    return number;
  }

 private:
  std::string_view text_;
};

std::optional<Journal> ReadJournal() {
  const FileContents contents = ReadWholeFile(Path());
  if (!contents.stamp) return std::nullopt;
  Fields fields(contents.bytes);
  Journal journal;
  journal.change = fields.Next();
  while (!fields.IsAtEnd()) {
    Replaced file;
    file.target = fields.Next();
    file.written.device = fields.NextNumber();
    file.written.inode = fields.NextNumber();
    file.written.size = static_cast<off_t>(fields.NextNumber());
    file.written.modified.tv_sec = static_cast<time_t>(fields.NextNumber());
    file.written.modified.tv_nsec = static_cast<long>(fields.NextNumber());
    file.is_new = fields.NextNumber() != 0;
    journal.files.push_back(file);
  }
  return journal;
}

Settled Settle(const std::function<bool(const std::string& change)>& is_committed) {
  RemoveLeftover(Path());
  const std::optional<Journal> journal = ReadJournal();
  if (!journal) return {};
  const bool stays = is_committed(journal->change);
  Settled settled{!stays, {}};
  for (const Replaced& file : journal->files) {
    if (stays) {
      DropOld(file);
    } else if (!TakeBack(file)) {
      settled.edited.push_back(file.target);
    }
  }
  RemoveJournal();
  return settled;
}

}  // namespace

void WriteJournal(const std::string& change, const std::vector<Replaced>& files) {
  std::string text = change + '\0';
  for (const Replaced& file : files) {
    const FileStamp& written = file.written;
    for (const std::string& field :
         {file.target, std::to_string(written.device), std::to_string(written.inode),
          std::to_string(written.size), std::to_string(written.modified.tv_sec),
          std::to_string(written.modified.tv_nsec), std::string(file.is_new ? "1" : "0")}) {
      text += field + '\0';
    }
  }
  ReplaceFile(
      Path(), StampOf(Path()), [&text](const PieceWriter& write) { write(text); }, kPrivateFile);
  SyncFolderOf(Path());
}

void RemoveJournal() {
  if (unlink(Path().c_str()) != 0 && errno != ENOENT) {
    Refuse(std::string("cannot be removed: ") + std::strerror(errno));
  }
}

bool IsJournalThere() {
  return StampOf(Path()).has_value();
}

Settled SettleJournal(const std::function<bool(const std::string& change)>& is_committed) {
  try {
    return Settle(is_committed);
  } catch (const fen_err::Error& error) {
    throw fen_err::Error(
        "saving", Path(),
        std::string("a change was killed while it was saved, and its table files can be neither "
                    "kept nor put back: ") +
            error.what() +
            "; mend that and run the command again, or remove this file: then the tables stay as "
            "they are, some new and some old, and zebmail check tells what the database does not "
            "have; until their next change the other texts of them are beside them as "
            ".NAME.zebmail");
  }
}

}  // namespace panel::conf
