/// NAME
///   panel_lines - the things of a panel as JSON Lines

#include "zebmail/panel_lines.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <set>
#include <utility>

#include "host/fen_err.h"
#include "zebmail/output.h"

namespace zebmail {
namespace {

using panel::mail::SenderList;

/// More than any thing of a panel takes.
constexpr std::size_t kLongestLine = std::size_t{64} << 20;

const char* NameOf(SenderList list) {
  return list == SenderList::kWhite ? "whitelist" : "blacklist";
}

/// Bytes that are no UTF-8 cannot be in JSON; nothing that a user gives has any.
std::string Line(const Json& object) {
  return object.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

/// `object` behind the type of the line.
Json Typed(const std::string& type, const Json& object) {
  Json line = {{"type", type}};
  line.update(object);
  return line;
}

[[noreturn]] void Refuse(const std::string& what) {
  throw fen_err::Error("value", "", what);
}

/// What the library says, without its own code in front.
std::string Words(const Json::exception& error) {
  const std::string words = error.what();
  return words.substr(words.find("] ") + 2);
}

/// The one value that `text` holds. The parser would take the last of two fields with one name.
Json Parse(const std::string& text) {
  std::set<std::string> names;
  std::string twice;
  const auto note = [&](int depth, Json::parse_event_t event, Json& parsed) {
    const bool is_name = event == Json::parse_event_t::key && depth == 1;
    if (is_name && !names.insert(parsed.get<std::string>()).second) twice = parsed;
    return true;
  };
  try {
    Json value = Json::parse(text, note);
    if (!value.is_object()) Refuse("is no JSON object");
    if (!twice.empty()) Refuse("has the field \"" + twice + "\" twice");
    return value;
  } catch (const Json::parse_error& error) {
    Refuse("is no JSON: " + Words(error));
  } catch (const Json::out_of_range& error) {
    Refuse("cannot be read: " + Words(error));
  }
}

/// Takes the fields of an object, one after the other.
class Fields {
 public:
  explicit Fields(Json object) : object_(std::move(object)) {}

  std::string RequiredText(const std::string& name) { return Required(name, Text(name)); }

  std::optional<std::string> Text(const std::string& name) {
    return Take<std::string>(name, "a text", [](const Json& value) { return value.is_string(); });
  }

  std::optional<bool> Truth(const std::string& name) {
    return Take<bool>(name, "true or false", [](const Json& value) { return value.is_boolean(); });
  }

  std::int64_t RequiredNumber(const std::string& name) { return Required(name, Number(name)); }

  std::optional<std::int64_t> Number(const std::string& name) {
    return Take<std::int64_t>(name, "a whole number that is not negative", [](const Json& value) {
      return value.is_number_unsigned() && value.get<std::uint64_t>() <= INT64_MAX;
    });
  }

  std::optional<std::vector<std::string>> Texts(const std::string& name) {
    return Take<std::vector<std::string>>(name, "a list of texts", [](const Json& value) {
      const auto is_text = [](const Json& item) { return item.is_string(); };
      return value.is_array() && std::all_of(value.begin(), value.end(), is_text);
    });
  }

  /// A misspelt field must not go unnoticed.
  void RequireNoOther() const {
    if (!object_.empty()) Refuse("has an unknown field \"" + object_.begin().key() + "\"");
  }

 private:
  template <class Value, class IsOfType>
  std::optional<Value> Take(const std::string& name, const std::string& type,
                            const IsOfType& is_of_type) {
    const auto field = object_.find(name);
    if (field == object_.end()) return std::nullopt;
    if (!is_of_type(*field)) Refuse("\"" + name + "\" is not " + type);
    auto value = field->get<Value>();
    object_.erase(field);
    return value;
  }

  template <class Value>
  static Value Required(const std::string& name, std::optional<Value> value) {
    if (!value) Refuse("lacks the field \"" + name + "\"");
    return *std::move(value);
  }

  Json object_;
};

using Said = decltype(panel::mail::ImportLine::said);

Said ReadWebDomain(Fields& fields) {
  return panel::mail::WebDomain{fields.RequiredText("name"), fields.RequiredNumber("owner")};
}

Said ReadDomain(Fields& fields) {
  panel::mail::DomainLine line{fields.RequiredText("name"), fields.Truth("active"), {}};
  line.settings = {fields.Text("defaction"), fields.Text("redirect"), fields.Text("ip"),
                   fields.Number("owner")};
  return line;
}

Said ReadMailbox(Fields& fields) {
  panel::mail::MailboxLine line;
  line.address = fields.RequiredText("address");
  line.active = fields.Truth("active");
  line.drop_mail = fields.Truth("dropmail");
  line.aliases = fields.Texts("aliases");
  line.forwards = fields.Texts("forwards");
  line.responder = fields.Truth("responder");
  line.answer = {fields.Text("subject"), fields.Text("text")};
  return line;
}

Said ReadSender(SenderList list, Fields& fields) {
  return panel::mail::SenderLine{list, fields.RequiredText("value")};
}

Said ReadTyped(const std::string& type, Fields& fields) {
  if (type == "webdomain") return ReadWebDomain(fields);
  if (type == "domain") return ReadDomain(fields);
  if (type == "mailbox") return ReadMailbox(fields);
  for (const SenderList list : {SenderList::kWhite, SenderList::kBlack}) {
    if (type == NameOf(list)) return ReadSender(list, fields);
  }
  Refuse("has the unknown type \"" + type + "\"");
}

Said Read(const std::string& text) {
  Fields fields(Parse(text));
  Said said = ReadTyped(fields.RequiredText("type"), fields);
  fields.RequireNoOther();
  return said;
}

/// Reads the next line, without its end, into `line`; returns whether there was one. Beyond the
/// longest it reads no more, since a device goes on for ever.
bool ReadLine(std::istream& stream, std::string& line) {
  line.clear();
  for (char byte = 0; stream.get(byte) && byte != '\n'; line += byte) {
    if (line.size() == kLongestLine) {
      Refuse("is longer than " + std::to_string(kLongestLine) + " bytes");
    }
  }
  return stream || !line.empty();
}

}  // namespace

std::string ToLine(const panel::mail::WebDomain& domain) {
  return Line(Typed("webdomain", {{"name", domain.name}, {"owner", domain.owner}}));
}

std::string ToLine(const panel::mail::Domain& domain) {
  Json object = Typed("domain", ToJson(domain));
  object["owner"] = domain.owner;
  return Line(object);
}

std::string ToLine(const panel::mail::Mailbox& mailbox, const panel::mail::Responder* responder) {
  Json object = Typed("mailbox", ToJson(mailbox));
  if (responder != nullptr) {
    object["subject"] = responder->subject;
    object["text"] = responder->text;
  }
  return Line(object);
}

std::string ToLine(SenderList list, const std::string& value) {
  return Line(Typed(NameOf(list), {{"value", value}}));
}

std::vector<panel::mail::ImportLine> ReadLines(std::istream& stream, const std::string& name) {
  std::vector<panel::mail::ImportLine> lines;
  std::string text;
  for (std::size_t number = 1;; ++number) {
    const std::string place = name + ":" + std::to_string(number);
    try {
      if (!ReadLine(stream, text)) break;
      if (text.find_first_not_of(" \t\r") != std::string::npos) {
        lines.push_back({place, Read(text)});
      }
    } catch (const fen_err::Error& error) {
      throw fen_err::Error("value", place, error.value());
    }
  }
  return lines;
}

}  // namespace zebmail
