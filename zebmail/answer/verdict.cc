/// NAME
///   verdict - whether a message is one to answer

#include "zebmail/answer/verdict.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "zebmail/answer/address.h"
#include "zebmail/answer/address_list.h"
#include "zebmail/answer/ascii.h"

namespace zebmail::answer {
namespace {

constexpr std::array<std::string_view, 17> kMachines = {
    "bounce",     "bounces",  "do-not-reply", "do_not_reply",  "donotreply", "double-bounce",
    "listmaster", "listserv", "mailer",       "mailer-daemon", "mailman",    "majordomo",
    "no-reply",   "no_reply", "noreply",      "postmaster",    "uucp"};
constexpr std::array<std::string_view, 5> kBeginningsOfMachines = {
    "bounce-", "bounces-", "no-reply-", "noreply-", "owner-"};
constexpr std::array<std::string_view, 7> kEndsOfMachines = {
    "-bounce", "-bounces", "-no-reply", "-noreply", "-owner", "-relay", "-request"};

/// Fields that only a list or a responder writes, whatever they say.
constexpr std::array<std::string_view, 6> kMarks = {
    "mailing-list", "x-autoreply", "x-autorespond", "x-beenthere", "x-loop", "x-mailing-list"};

template <std::size_t size>
bool Holds(const std::array<std::string_view, size>& words, std::string_view word) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

/// The value up to its first comment, parameter or blank, in lower case.
std::string FirstWord(std::string_view value) {
  return ToLower(value.substr(0, value.find_first_of("(;, \t")));
}

/// Whether the value, words separated by commas, names one of `words`.
template <std::size_t size>
bool Lists(std::string_view value, const std::array<std::string_view, size>& words) {
  while (!value.empty()) {
    const std::size_t end = std::min(value.find(','), value.size());
    if (Holds(words, ToLower(Trim(value.substr(0, end))))) return true;
    value.remove_prefix(std::min(end + 1, value.size()));
  }
  return false;
}

/// A program may put more behind a "+" or, in the address for the bounces of one copy, "-return-".
bool IsMachine(std::string_view local_part) {
  const std::string name = ToLower(local_part.substr(0, local_part.find('+')));
  const auto begins = [&name](std::string_view begin) { return name.starts_with(begin); };
  const auto ends = [&name](std::string_view end) { return name.ends_with(end); };
  return Holds(kMachines, name) || name.find("-return-") != std::string::npos ||
         std::any_of(kBeginningsOfMachines.begin(), kBeginningsOfMachines.end(), begins) ||
         std::any_of(kEndsOfMachines.begin(), kEndsOfMachines.end(), ends);
}

std::string ObjectionToSender(const Envelope& envelope) {
  if (envelope.sender.empty()) return "it is a bounce: its sender is empty";
  if (!IsPlainAddress(envelope.sender)) return "its sender is not a plain address";
  if (IsMachine(LocalPart(envelope.sender))) return "its sender is a program or a list";
  if (IsSame(envelope.sender, envelope.recipient)) return "its sender is the mailbox itself";
  return "";
}

std::string ObjectionToField(const HeaderField& field) {
  static constexpr std::array<std::string_view, 4> kLowPrecedence = {"auto_reply", "bulk", "junk",
                                                                     "list"};
  static constexpr std::array<std::string_view, 3> kSuppressed = {"all", "autoreply", "oof"};
  const std::string word = FirstWord(field.value);
  if (field.name.starts_with("list-")) return "it came through a list: it has a List-* field";
  if (Holds(kMarks, field.name)) return "it has the field " + field.name;
  if (field.name == "auto-submitted" && word != "no") return "it is Auto-Submitted";
  if (field.name == "precedence" && Holds(kLowPrecedence, word)) return "its Precedence is " + word;
  if (field.name == "x-auto-response-suppress" && Lists(field.value, kSuppressed))
    return "it asks for no answer: X-Auto-Response-Suppress";
  if (field.name == "content-type" && word == "multipart/report") return "it is a report";
  if (field.name == "x-spam-flag" && word == "yes") return "it is marked as spam";
  return "";
}

std::string ObjectionToHeader(const MessageHeader& header) {
  for (const HeaderField& field : header.fields()) {
    std::string objection = ObjectionToField(field);
    if (!objection.empty()) return objection;
  }
  return "";
}

/// Whether the sender wrote the address himself: it is not there when a list or a copy that others
/// cannot see brought the message.
bool IsAddressedTo(const std::string& recipient, const MessageHeader& header) {
  static constexpr std::array<std::string_view, 4> kFields = {"cc", "resent-cc", "resent-to", "to"};
  const auto is_recipient = [&recipient](const std::string& address) {
    return IsSame(address, recipient);
  };
  return std::any_of(header.fields().begin(), header.fields().end(), [&](const HeaderField& field) {
    if (!Holds(kFields, field.name)) return false;
    const std::vector<std::string> addresses = ReadAddresses(field.value);
    return std::any_of(addresses.begin(), addresses.end(), is_recipient);
  });
}

}  // namespace

std::string FindObjection(const Envelope& envelope, const MessageHeader& header) {
  if (std::string objection = ObjectionToSender(envelope); !objection.empty()) return objection;
  if (std::string objection = ObjectionToHeader(header); !objection.empty()) return objection;
  if (!IsAddressedTo(envelope.recipient, header)) return "no To or Cc names the mailbox";
  return "";
}

}  // namespace zebmail::answer
