/// NAME
///   smtp_sink - a mail server that takes everything and remembers from whom

#include "tests/delivery/smtp_sink.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <system_error>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

namespace test_support {
namespace {

void Require(bool holds, const char* what) {
  if (!holds) throw std::system_error(errno, std::generic_category(), what);
}

std::string TextOf(const sockaddr_in& address) {
  std::array<char, INET_ADDRSTRLEN> text{};
  return inet_ntop(AF_INET, &address.sin_addr, text.data(), text.size());
}

/// What stands between "<" and ">".
std::string Path(const std::string& line) {
  const std::size_t begin = line.find('<') + 1;
  return line.substr(begin, line.find('>', begin) - begin);
}

/// The server's side of one talk.
class Talk {
 public:
  explicit Talk(const std::string& client) : message_{client, "", ""} {}

  /// The reply to the line; empty for the lines of a message but its last one.
  std::string Answer(const std::string& line) {
    if (is_in_text_) {
      is_in_text_ = line != ".";
      return is_in_text_ ? "" : kTaken;
    }
    const std::string verb = line.substr(0, 4);
    if (verb == "MAIL") message_.sender = Path(line);
    if (verb == "RCPT") message_.recipient = Path(line);
    if (verb == "QUIT") return "221 bye";
    is_in_text_ = verb == "DATA";
    return is_in_text_ ? "354 go on" : "250 fine";
  }

  const SmtpSink::Message& message() const noexcept { return message_; }

  static constexpr const char* kTaken = "250 taken";

 private:
  SmtpSink::Message message_;
  bool is_in_text_ = false;
};

bool Say(int client, const std::string& reply) {
  const std::string text = reply + "\r\n";
  return send(client, text.data(), text.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(text.size());
}

}  // namespace

SmtpSink::SmtpSink()
    : listener_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)), stop_(eventfd(0, EFD_CLOEXEC)) {
  Require(static_cast<bool>(listener_), "socket");
  Require(static_cast<bool>(stop_), "eventfd");
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  auto* const place = reinterpret_cast<sockaddr*>(&address);
  socklen_t size = sizeof address;
  Require(bind(listener_.get(), place, size) == 0, "bind");
  Require(listen(listener_.get(), SOMAXCONN) == 0, "listen");
  Require(getsockname(listener_.get(), place, &size) == 0, "getsockname");
  port_ = ntohs(address.sin_port);
  thread_ = std::thread([this] { Run(); });
}

SmtpSink::~SmtpSink() {
  eventfd_write(stop_.get(), 1);
  thread_.join();
}

std::vector<SmtpSink::Message> SmtpSink::Messages() const {
  const std::lock_guard guard(mutex_);
  return messages_;
}

void SmtpSink::Run() {
  while (WaitFor(listener_.get())) {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    const panel::FileHandle client(
        accept4(listener_.get(), reinterpret_cast<sockaddr*>(&address), &size, SOCK_CLOEXEC));
    if (client) Serve(client.get(), TextOf(address));
  }
}

void SmtpSink::Serve(int client, const std::string& address) {
  Talk talk(address);
  std::string received;
  if (!Say(client, "220 sink.test")) return;
  while (WaitFor(client)) {
    std::array<char, 4096> part{};
    const ssize_t count = recv(client, part.data(), part.size(), 0);
    if (count <= 0) return;
    received.append(part.data(), static_cast<std::size_t>(count));
    for (std::size_t end = 0; (end = received.find("\r\n")) != std::string::npos;) {
      const std::string reply = talk.Answer(received.substr(0, end));
      received.erase(0, end + 2);
      if (reply == Talk::kTaken) Take(talk.message());
      if (!reply.empty() && !Say(client, reply)) return;
    }
  }
}

void SmtpSink::Take(const Message& message) {
  const std::lock_guard guard(mutex_);
  messages_.push_back(message);
}

/// Whether the file can be read from; not, when the sink is to end.
bool SmtpSink::WaitFor(int file) const {
  std::array<pollfd, 2> files = {pollfd{file, POLLIN, 0}, pollfd{stop_.get(), POLLIN, 0}};
  while (poll(files.data(), files.size(), -1) < 0) {
    if (errno != EINTR) return false;
  }
  return files[1].revents == 0;
}

}  // namespace test_support
