/// NAME
///   malice_test - hostile values at every place where somebody can put a value
///
/// PURPOSE
///   Gives each value to each place, by the command as a user runs it. It is refused with an error
///   that names it, can be printed as it is, and leaves everything as it was; or it is stored, and
///   then the tables read back as themselves, Postfix's tools take them without a warning, and
///   nothing of it has run.

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <ostream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "panel/text/control_characters.h"
#include "tests/zebmail/own_panel.h"

namespace zebmail_test {
namespace {

using Json = nlohmann::json;
using Words = std::vector<std::string>;

/// What stands for the path of a file that only a command hidden in a value would make.
const std::string kCanary = "CANARY";

/// As long as one word of a command may be, nearly; a file may hold more.
const std::string kLongWord(100000, 'a');

/// Everything but what needs a NUL or more than a word, which no command line can hold.
const std::vector<std::string>& HostileValues() {
  static const std::vector<std::string> values = {
      // nothing, lines, control characters
      "", "a\nb", "a\r\nBcc: x@example.net", "a\n\tb", "a\n@evil.example devnull", "a\tb", "a\vb",
      "a\fb", "a\x7f", "\x01", "\x1b[31m",
      // Unicode: direction, no width, signs that look like others, bytes that are none
      "\u202egro.elpmaxe", "\u2066a\u2069", "in\u200bfo", "in\u200dfo", "\ufeffinfo", "in\u00adfo",
      "a\u00a0b", "\u009b31m", "\U000e0041a", "a＠example.net", "a。example", "ехаmple", "ß",
      "\x9b[31m", "a\xff", "a\xc0\xaf", "a\xe0\x80\xae", "a\xed\xa0\x80", "a\xf4\x90\x80\x80",
      // too much
      kLongWord, kLongWord + "@example.net", "a@" + kLongWord, std::string(300, '.'),
      std::string(5000, '\xff'),
      // a shell, options
      "$(touch CANARY)", "`touch CANARY`", ";touch CANARY;", "|touch CANARY", "\"|touch CANARY\"",
      "|touch${IFS}CANARY", "'; touch CANARY; '", "a\\\n", "-f", "-o x=y", "--config=/dev/null",
      "-", "--",
      // SQL, formats, regular expressions
      "' OR '1'='1", "'; DROP TABLE email; --", "%", "%s%n%x", ".*", "(a+)+$", "[a-z]", "/x/ OK",
      // paths
      "../../etc/passwd", "/etc/passwd", "/dev/zero", "~root/.profile", "a/../../b",
      "file:///etc/passwd",
      // what tables and Postfix read
      "a#b", "#", ":include:/etc/passwd", "a,b", "a b", "\"a", "\"a b\"", "a\\", "@", "a@b@c",
      "@example.org", "__name__", "postfix_err_nouser", "devnull", "$mydomain", "${x}", "a=b",
      "550 no", "OK", "{ a }", "!example.org", "hash:/etc/passwd", "a!b", "a%b@example.net"};
  return values;
}

/// A place, and how a value gets there.
struct Place {
  const char* name;
  std::function<Words(const std::string& value)> words;
  std::function<std::string(const std::string& value)> input = {};
  bool is_shown = true;  ///< whether an error names the value, rather than what is wrong with it
};

void PrintTo(const Place& place, std::ostream* out) {
  *out << place.name;
}

/// Words with the value behind them, after a "--" by which it is no option.
std::function<Words(const std::string&)> Last(Words words, const std::string& domain = "") {
  words.emplace_back("--");
  return [words, domain](const std::string& value) {
    Words all = words;
    all.push_back(value + domain);
    return all;
  };
}

/// Words with the value as that of an option.
std::function<Words(const std::string&)> Option(const Words& words, const std::string& option) {
  return [words, option](const std::string& value) {
    Words all = words;
    all.push_back(option + "=" + value);
    return all;
  };
}

/// `text` in JSON, with bytes that are no UTF-8 as they are.
std::string JsonText(std::string_view text) {
  std::string json = "\"";
  for (const char byte : text) {
    const auto value = static_cast<unsigned char>(byte);
    if (value < 0x20) {
      json += "\\u00" + panel::Hexadecimal({&byte, 1}).substr(2);
    } else {
      if (byte == '"' || byte == '\\') json += '\\';
      json += byte;
    }
  }
  return json + "\"";
}

/// A line of an import, with the value between two parts of it.
Place ImportOf(const char* name, const std::string& before, const std::string& after,
               bool is_shown = true) {
  return {
      name,
      [](const std::string&) {
        return Words{"import", "-"};
      },
      [before, after](const std::string& value) { return before + JsonText(value) + after + "\n"; },
      is_shown};
}

std::vector<Place> Places() {
  const auto from_input = [](const std::string&) {
    return Words{"responder", "on", "info@example.org", "--text-file", "-"};
  };
  const auto itself = [](const std::string& value) { return value; };
  const std::string mailbox = R"({"type":"mailbox","address":"info@example.org",)";
  return {
      {"Domain", Last({"domain", "create"})},
      {"DomainBelowAnother", Last({"domain", "create"}, ".example")},
      {"DefaultAction", Option({"domain", "update", "example.org"}, "--default-action")},
      {"RedirectToAddress",
       Option({"domain", "update", "example.org", "--default-action=redir_email"}, "--redirect")},
      {"OutgoingAddress", Option({"domain", "update", "example.org"}, "--ip")},
      {"Mailbox", Last({"mailbox", "create"})},
      {"LocalPart", Last({"mailbox", "create"}, "@example.org")},
      {"Alias", Last({"alias", "add", "info@example.org"})},
      {"Forward", Last({"forward", "add", "info@example.org"})},
      {"Blacklist", Last({"blacklist", "add"})},
      {"Subject", Option({"responder", "on", "info@example.org"}, "--subject"), {}, false},
      {"Text", from_input, itself, false},
      {"WebDomain", Last({"webdomain", "add", "--owner=1"})},
      {"AddressToTrace", Last({"trace"})},
      ImportOf("ImportedDomain", R"({"type":"domain","name":)", "}"),
      ImportOf("ImportedMailbox", R"({"type":"mailbox","address":)", "}"),
      ImportOf("ImportedAlias", mailbox + R"("aliases":["a",)", "]}"),
      ImportOf("ImportedForward", mailbox + R"("forwards":[)", "]}"),
      ImportOf("ImportedSubject", mailbox + R"("responder":true,"subject":)", "}", false),
      ImportOf("ImportedText", mailbox + R"("responder":true,"text":)", "}", false),
      ImportOf("ImportedSender", R"({"type":"whitelist","value":)", "}"),
      {"ImportedLine",
       [](const std::string&) {
         return Words{"import", "-"};
       },
       itself, false},
  };
}

/// Nothing in the text steers a terminal.
void ExpectPrintable(std::string_view text) {
  while (!text.empty()) {
    const panel::Glyph glyph = panel::TakeGlyph(text);
    const bool is_allowed = !glyph.is_hidden || glyph.bytes == "\n" || glyph.bytes == "\t";
    ASSERT_TRUE(is_allowed) << panel::EscapeControlCharacters(glyph.bytes);
  }
}

class Malice : public testing::TestWithParam<Place> {
 protected:
  static std::string WithCanary(std::string value, const std::string& path) {
    const std::size_t place = value.find(kCanary);
    return place == std::string::npos ? value : value.replace(place, kCanary.size(), path);
  }

  /// Gives the value to the place; returns whether it was taken.
  void Try(const std::string& hostile) {
    const std::string value = WithCanary(hostile, canary_);
    SCOPED_TRACE(panel::EscapeControlCharacters(value.substr(0, 200)));
    const auto before = Snapshot(panel_.Path("panel"));

    const CommandRun run =
        panel_.Run(GetParam().words(value), GetParam().input ? GetParam().input(value) : "");

    ExpectPrintable(run.output + run.errors);
    if (run.status == 0) return;
    EXPECT_LE(run.status, 2);
    EXPECT_TRUE(run.errors.starts_with("zebmail: ")) << run.errors;
    EXPECT_LT(run.errors.size(), std::size_t{5000});
    if (GetParam().is_shown && run.status == 1) {
      EXPECT_NE(run.errors.find(Beginning(value)), std::string::npos) << run.errors;
    }
    EXPECT_TRUE(Snapshot(panel_.Path("panel")) == before);
  }

  /// Whatever was taken, the panel is sound.
  void ExpectSound() const {
    EXPECT_FALSE(std::filesystem::exists(canary_));
    for (const char* table :
         {"virtusertable", "local-host-names", "access", "aliases", "domainips"}) {
      ExpectPrintable(panel_.Table(table));
    }
    ExpectPrintable(panel_.folder().ReadText("config/master.cf"));
    for (const Words& words :
         {Words{"/usr/sbin/postmap", "virtusertable"}, Words{"/usr/sbin/postmap", "access"},
          Words{"/usr/sbin/postalias", "aliases"}}) {
      const CommandRun run = test_support::RunCommand(
          {words[0], "-c", panel_.Path("config"), "hash:" + panel_.Path("panel/mail/" + words[1])});
      EXPECT_EQ(run.errors, "");
    }
    const Json known = Exported();
    const CommandRun sync = panel_.Run({"sync"});
    EXPECT_EQ(sync.errors, "");
    EXPECT_EQ(Exported(), known);
  }

 private:
  /// So much of the value as an error shows as it is.
  static std::string Beginning(const std::string& value) {
    const auto end = std::find_if(value.begin(), value.end(),
                                  [](char byte) { return byte < 0x20 || byte > 0x7e; });
    return std::string(value.begin(), end).substr(0, 40);
  }

  /// All that the panel knows. The tables keep the aliases of a mailbox in an order of their own.
  Json Exported() const {
    std::istringstream lines(panel_.Do({"export"}));
    Json all;
    for (std::string line; std::getline(lines, line);) {
      all.push_back(Json::parse(line));
      if (all.back().contains("aliases")) {
        std::sort(all.back()["aliases"].begin(), all.back()["aliases"].end());
      }
    }
    return all;
  }

  MailboxPanel panel_;
  std::string canary_ = panel_.Path("canary");
};

TEST_P(Malice, IsRefusedOrStoredHarmlessly) {
  for (const std::string& value : HostileValues()) Try(value);
  ExpectSound();
}

/// A NUL and a megabyte fit into files only.
TEST_P(Malice, OfFilesIsRefusedOrStoredHarmlessly) {
  if (!GetParam().input) return;
  Try(std::string("a\0b", 3));
  Try(std::string("\0", 1));
  Try(std::string(1 << 20, 'a'));
  Try(std::string(1 << 20, '\n'));
  Try(std::string(1 << 20, '['));
  Try(std::string(1 << 20, '\xff'));
  ExpectSound();
}

INSTANTIATE_TEST_SUITE_P(At, Malice, testing::ValuesIn(Places()),
                         [](const auto& one) { return std::string(one.param.name); });

/// `text` with the value at the key `name`, wherever that stands; at the beginning if nowhere.
std::string WithValue(const std::string& text, const std::string& name, const std::string& value) {
  const std::string line = name + " = " + JsonText(value);
  const std::size_t place = text.find("\n" + name + " = ") + 1;  // 0 if it is not found
  if (place == 0) return line + "\n" + text;
  return text.substr(0, place) + line + text.substr(text.find('\n', place));
}

class MaliceOfConfiguration : public testing::Test {
 protected:
  MaliceOfConfiguration() { panel_.folder().WriteText("panel/zebmail.toml", text_); }

  /// A change fails with an error that begins so, and makes nothing, while the key has the value.
  void ExpectRefused(const std::string& name, const std::string& value, const std::string& begin) {
    SCOPED_TRACE(name + " = " + panel::EscapeControlCharacters(value.substr(0, 200)));
    const auto before = Snapshot(panel_.folder().path());
    panel_.folder().WriteText("panel/zebmail.toml", WithValue(text_, name, value));

    const CommandRun run = panel_.Run({"domain", "create", "a.example"});

    panel_.folder().WriteText("panel/zebmail.toml", text_);
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(run.errors.starts_with(begin)) << run.errors;
    EXPECT_LT(run.errors.size(), std::size_t{5000});
    ExpectPrintable(run.errors);
    EXPECT_TRUE(Snapshot(panel_.folder().path()) == before);
  }

  const OwnPanel panel_;
  const std::string text_ = "\n" + panel_.folder().ReadText("panel/zebmail.toml");
};

/// What is absolute is a folder or a program that the administrator chose.
TEST_F(MaliceOfConfiguration, IsRefusedByItsLine) {
  for (const std::string& value : HostileValues()) {
    if (value.starts_with('/')) continue;
    for (const char* name : {"state_dir", "postfix-postmap", "unknown"}) {
      ExpectRefused(name, value, "zebmail: config: " + panel_.config() + ":");
    }
  }
}

TEST_F(MaliceOfConfiguration, IsNoDatabaseAndNoBackEnd) {
  for (const std::string& value : HostileValues()) {
    for (const char* name : {"database", "MTA"}) ExpectRefused(name, value, "zebmail: ");
  }
}

}  // namespace
}  // namespace zebmail_test
