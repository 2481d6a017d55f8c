/// NAME
///   smtp_sink - a mail server that takes everything and remembers from whom
///
/// PURPOSE
///   The other end of outgoing mail: a small SMTP server on a loopback port, run by a thread of the
///   test's own, which notes for each message the address of the client and the envelope. It serves
///   one client after the other.
///
/// HOW IT FAILS
///   With std::system_error when it cannot listen. A client that hangs up is not a failure.

#pragma once

#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "panel/process/file_handle.h"

namespace test_support {

class SmtpSink {
 public:
  /// A message that was taken.
  struct Message {
    std::string client;  ///< the address that it came from
    std::string sender;
    std::string recipient;  ///< the last one, if there were several

    bool operator==(const Message&) const = default;
  };

  SmtpSink();
  ~SmtpSink();
  SmtpSink(const SmtpSink&) = delete;
  SmtpSink& operator=(const SmtpSink&) = delete;

  /// The port on 127.0.0.1 on which it listens.
  int port() const noexcept { return port_; }

  /// The messages so far. One that its sender knows to be delivered is among them.
  std::vector<Message> Messages() const;

 private:
  void Run();
  void Serve(int client, const std::string& address);
  void Take(const Message& message);
  bool WaitFor(int file) const;

  panel::FileHandle listener_;
  panel::FileHandle stop_;  ///< can be read from once the thread is to end
  int port_ = 0;
  mutable std::mutex mutex_;
  std::vector<Message> messages_;
  std::thread thread_;
};

}  // namespace test_support
