/// NAME
///   smtp_session - a talk with a mail server on this machine
///
/// PURPOSE
///   Speaks SMTP line by line over a plain socket, so that a test sees each reply of the server as
///   it is.
///
/// HOW IT FAILS
///   With std::runtime_error when the server cannot be reached, hangs up in the middle or says
///   nothing for a minute.

#pragma once

#include <string>

namespace test_support {

struct SmtpReply {
  int code;
  std::string text;  ///< all lines as they came, without the last line end
};

class SmtpSession {
 public:
  /// Connects to the port on 127.0.0.1, reads the greeting and says HELO.
  explicit SmtpSession(int port);
  ~SmtpSession();
  SmtpSession(const SmtpSession&) = delete;
  SmtpSession& operator=(const SmtpSession&) = delete;

  /// Sends one line and returns the reply.
  SmtpReply Say(const std::string& line);

  SmtpReply MailFrom(const std::string& sender) { return Say("MAIL FROM:<" + sender + ">"); }
  SmtpReply RcptTo(const std::string& recipient) { return Say("RCPT TO:<" + recipient + ">"); }

  /// Sends the message of the transaction; its reply names the queue id.
  SmtpReply Data(const std::string& text);

 private:
  void Send(const std::string& text) const;
  SmtpReply Receive();
  std::string ReceiveLine();

  int socket_;
  std::string received_;
};

/// What the server at `port` says to a recipient, in a talk of its own.
SmtpReply AskForRecipient(int port, const std::string& sender, const std::string& recipient);

/// Sends a short message to one recipient and returns its queue id. Its From and To are those of
/// the envelope; `fields` are lines that are put above them.
std::string SendMessage(int port, const std::string& sender, const std::string& recipient,
                        const std::string& fields = "");

/// Sends this message, header and text, to one recipient and returns its queue id.
std::string SendText(int port, const std::string& sender, const std::string& recipient,
                     const std::string& text);

/// Whether nobody listens on the port.
bool IsPortFree(int port);

}  // namespace test_support
