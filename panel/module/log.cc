/// NAME
///   log - writing the panel's log

#include "panel/module/log.h"

#include <cerrno>
#include <cstdio>
#include <iostream>
#include <memory>
#include <mutex>
#include <set>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <spdlog/logger.h>
#include <spdlog/sinks/basic_file_sink.h>

#include "host/fen_err.h"
#include "host/fen_log.h"
#include "panel/process/file_handle.h"
#include "panel/text/control_characters.h"

namespace panel {
namespace {

constexpr const char* kLogName = "zebfen";
constexpr const char* kPattern = "%Y-%m-%dT%H:%M:%S%z [%n] %l %v";
constexpr mode_t kLogMode = 0640;

/// More than the longest entry, a tool's output of 64 KiB with every byte escaped to four: an entry
/// is written in one piece, so that those of other processes do not come into its midst.
constexpr std::size_t kBufferSize = std::size_t{512} * 1024;

using Sink = std::shared_ptr<spdlog::sinks::sink>;

struct Logs {
  std::mutex mutex;
  Sink sink;
  std::multiset<std::pair<std::string, std::string>> channels;  // log and channel
};

Logs& State() {
  static auto* const state = new Logs;  // never destroyed: plug-ins leave at the process's end
  return *state;
}

Sink CurrentSink() {
  const std::lock_guard lock(State().mutex);
  return State().sink;
}

bool IsDeclared(const std::string& channel) {
  const std::lock_guard lock(State().mutex);
  return State().channels.contains({kLogName, channel});
}

void WriteToStandardError(const std::string& channel, const std::string& line) {
  std::cerr << "[" + channel + "] " + line + "\n";
}

/// Makes sure that the file is there with its mode and can be written.
void Create(const std::filesystem::path& file) {
  if (!FileHandle(open(file.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, kLogMode))) {
    throw fen_err::Error("log", file.string(), std::generic_category().message(errno));
  }
}

Sink Open(const std::filesystem::path& file) {
  spdlog::file_event_handlers handlers;
  const auto buffer = std::make_shared_for_overwrite<char[]>(kBufferSize);
  handlers.after_open = [buffer](const spdlog::filename_t&, std::FILE* stream) {
    fcntl(fileno(stream), F_SETFD, FD_CLOEXEC);
    static_cast<void>(std::setvbuf(stream, buffer.get(), _IOFBF, kBufferSize));
  };
  try {
    auto sink = std::make_shared<spdlog::sinks::basic_file_sink_mt>(file.string(), false, handlers);
    sink->set_pattern(kPattern);
    return sink;
  } catch (const spdlog::spdlog_ex& error) {
    throw fen_err::Error("log", file.string(), error.what());
  }
}

void Write(const std::string& channel, spdlog::level::level_enum level, const std::string& text) {
  const std::string name = EscapeControlCharacters(channel);
  const std::string line = EscapeControlCharacters(text);
  const Sink sink = CurrentSink();
  if (sink == nullptr) {
    WriteToStandardError(name, line);
    return;
  }
  spdlog::logger logger(name, sink);
  logger.flush_on(spdlog::level::trace);
  logger.set_error_handler([&](const std::string& why) {
    WriteToStandardError(name, line + " (not logged: " + why + ")");
  });
  logger.log(level, spdlog::string_view_t(line));
}

}  // namespace

void OpenLog(const std::filesystem::path& file) {
  Create(file);
  Sink sink = Open(file);
  const std::lock_guard lock(State().mutex);
  State().sink = std::move(sink);
}

void Log(const std::string& channel, const std::string& text) {
  Write(channel, spdlog::level::info, text);
}

void LogError(const std::string& channel, const std::exception& error) {
  const auto* reported = dynamic_cast<const fen_err::Error*>(&error);
  const bool has_channel =
      reported != nullptr && reported->report() && IsDeclared(reported->type());
  Write(has_channel ? reported->type() : channel, spdlog::level::err, error.what());
}

}  // namespace panel

namespace fen_log {

Module::Module(const char* name, const char* log) : name_(name), log_(log) {
  const std::lock_guard lock(panel::State().mutex);
  panel::State().channels.emplace(log, name);
}

Module::~Module() {
  auto& channels = panel::State().channels;
  const std::lock_guard lock(panel::State().mutex);
  channels.erase(channels.find({log_, name_}));
}

}  // namespace fen_log
