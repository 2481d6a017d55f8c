/// NAME
///   smtp_session - a talk with a mail server on this machine

#include "tests/delivery/smtp_session.h"

#include <array>
#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <stdexcept>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace test_support {
namespace {

[[noreturn]] void Fail(const std::string& what) {
  throw std::runtime_error("SMTP: " + what + ": " + std::strerror(errno));
}

sockaddr_in Loopback(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

/// A connection, or -1.
int Connect(int port) {
  const int end = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (end < 0) Fail("socket");
  const sockaddr_in address = Loopback(port);
  if (connect(end, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return end;
  const int error = errno;
  close(end);
  errno = error;
  return -1;
}

void Expect(const SmtpReply& reply, int code) {
  if (reply.code != code)
    throw std::runtime_error("SMTP: " + std::to_string(code) + " expected, got: " + reply.text);
}

std::string WithSmtpLineEnds(const std::string& text) {
  std::string lines;
  for (const char byte : text) lines += byte == '\n' ? "\r\n" : std::string(1, byte);
  return lines;
}

}  // namespace

SmtpSession::SmtpSession(int port) : socket_(Connect(port)) {
  if (socket_ < 0) Fail("connect");
  const timeval patience{60, 0};
  setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
  try {
    Expect(Receive(), 220);
    Expect(Say("HELO client.test"), 250);
  } catch (...) {
    close(socket_);
    throw;
  }
}

SmtpSession::~SmtpSession() {
  close(socket_);
}

SmtpReply SmtpSession::Say(const std::string& line) {
  Send(line + "\r\n");
  return Receive();
}

SmtpReply SmtpSession::Data(const std::string& text) {
  Expect(Say("DATA"), 354);
  Send(text);
  return Say(".");
}

void SmtpSession::Send(const std::string& text) const {
  if (send(socket_, text.data(), text.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(text.size()))
    Fail("send");
}

SmtpReply SmtpSession::Receive() {
  SmtpReply reply{0, ""};
  for (;;) {
    const std::string line = ReceiveLine();
    if (line.size() < 3 || std::isdigit(static_cast<unsigned char>(line[0])) == 0)
      throw std::runtime_error("SMTP: no reply: " + line);
    reply.code = std::stoi(line.substr(0, 3));
    reply.text += line;
    if (line.size() == 3 || line[3] != '-') return reply;
    reply.text += "\n";
  }
}

std::string SmtpSession::ReceiveLine() {
  for (;;) {
    const std::size_t end = received_.find("\r\n");
    if (end != std::string::npos) {
      std::string line = received_.substr(0, end);
      received_.erase(0, end + 2);
      return line;
    }
    std::array<char, 1024> part{};
    const ssize_t count = recv(socket_, part.data(), part.size(), 0);
    if (count < 0) Fail("receive");
    if (count == 0) throw std::runtime_error("SMTP: the server has hung up");
    received_.append(part.data(), static_cast<std::size_t>(count));
  }
}

SmtpReply AskForRecipient(int port, const std::string& sender, const std::string& recipient) {
  SmtpSession session(port);
  const SmtpReply to_sender = session.MailFrom(sender);
  return to_sender.code == 250 ? session.RcptTo(recipient) : to_sender;
}

std::string SendMessage(int port, const std::string& sender, const std::string& recipient,
                        const std::string& fields) {
  return SendText(
      port, sender, recipient,
      fields + "From: <" + sender + ">\nTo: <" + recipient + ">\nSubject: test\n\nHello\n");
}

std::string SendText(int port, const std::string& sender, const std::string& recipient,
                     const std::string& text) {
  SmtpSession session(port);
  Expect(session.MailFrom(sender), 250);
  Expect(session.RcptTo(recipient), 250);
  const SmtpReply reply = session.Data(WithSmtpLineEnds(text));
  Expect(reply, 250);
  const std::string mark = "queued as ";
  const std::size_t place = reply.text.find(mark);
  if (place == std::string::npos) throw std::runtime_error("SMTP: no queue id: " + reply.text);
  return reply.text.substr(place + mark.size());
}

bool IsPortFree(int port) {
  const int end = Connect(port);
  if (end >= 0) close(end);
  return end < 0;
}

}  // namespace test_support
