/// NAME
///   fen_log - a plug-in's channel in one of the panel's logs
///
/// PURPOSE
///   A plug-in declares the channel under which its failures are logged. The host writes the lines:
///   every fen_err::Error that is marked for reporting goes to the channel of its type.

#pragma once

namespace fen_log {

class Module {
 public:
  /// Declares the channel `name` in the log `log`. Both texts must outlive the object.
  Module(const char* name, const char* log);
  ~Module();

  Module(const Module&) = delete;
  Module& operator=(const Module&) = delete;

  const char* name() const noexcept { return name_; }
  const char* log() const noexcept { return log_; }

 private:
  const char* name_;
  const char* log_;
};

}  // namespace fen_log
