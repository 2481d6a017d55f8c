/// NAME
///   mailbox_ends - where the mail of a mailbox ends

#include "panel/mail/mailbox_ends.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <system_error>

namespace panel::mail {
namespace {

namespace fs = std::filesystem;

const char* const kTransport = "mailbox_transport";
const char* const kTransportMaps = "mailbox_transport_maps";
const char* const kCommand = "mailbox_command";
const char* const kCommandMaps = "mailbox_command_maps";
const char* const kLocalTransport = "local_transport";
const char* const kQueue = "queue_directory";

/// Where Debian's Dovecot listens for mail, seen from the queue folder, and what serves it.
const char* const kDovecotSocket = "private/dovecot-lmtp";
const char* const kDovecotProgram = "/usr/lib/dovecot/lmtp";

bool IsDovecotInstalled(const fs::path& queue) {
  std::error_code failed;
  return fs::exists(kDovecotProgram, failed) || fs::is_socket(queue / kDovecotSocket, failed);
}

}  // namespace

const std::string& MailboxEnds::transport() const {
  return parameters.at(kTransport).value;
}

bool MailboxEnds::TakesAnyName() const {
  static constexpr std::array<const char*, 3> kForUnknown = {
      "fallback_transport", "fallback_transport_maps", "luser_relay"};
  return KnowsDomains() || std::any_of(kForUnknown.begin(), kForUnknown.end(), [this](auto name) {
           return !parameters.at(name).expanded.empty();
         });
}

bool MailboxEnds::KnowsDomains() const {
  const std::string& local = parameters.at(kLocalTransport).expanded;
  return !parameters.at(kTransport).expanded.empty() ||
         !parameters.at(kTransportMaps).expanded.empty() ||
         (local != "local" && !local.starts_with("local:"));
}

bool MailboxEnds::HasCommand() const {
  return !parameters.at(kCommand).expanded.empty() || !parameters.at(kCommandMaps).expanded.empty();
}

MailboxEnds FindMailboxEnds() {
  MailboxEnds ends;
  ends.parameters =
      ReadParameters({kTransport, kTransportMaps, kCommand, kCommandMaps, kLocalTransport, kQueue,
                      "fallback_transport", "fallback_transport_maps", "luser_relay"});
  const bool is_open =
      ends.parameters[kTransport].value.empty() && ends.parameters[kCommand].value.empty();
  if (is_open && IsDovecotInstalled(ends.parameters[kQueue].expanded)) {
    ends.suggestion = std::string("lmtp:unix:") + kDovecotSocket;
  }
  return ends;
}

}  // namespace panel::mail
