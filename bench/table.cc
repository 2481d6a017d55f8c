/// NAME
///   table - a virtual user table to measure on, and the panel that it needs

#include "bench/table.h"

#include <fstream>

#include "panel/module/config.h"

namespace bench {
namespace {

constexpr std::size_t kLinesOfDomain = 100;

std::string Domain(std::size_t number) {
  const std::string digits = std::to_string(number);
  return "d" + std::string(6 - digits.size(), '0') + digits + ".example";
}

}  // namespace

void UsePanel(const std::filesystem::path& folder) {
  panel::Config config;
  config.file = folder / "zebmail.toml";
  config.state_dir = folder / "state";
  config.path["postfix-postmap"] = "/bin/true";
  std::filesystem::create_directories(config.state_dir);
  panel::UseConfig(config);
}

void WriteTable(const std::filesystem::path& table, std::size_t lines) {
  std::ofstream text;
  text.exceptions(std::ios::failbit | std::ios::badbit);
  text.open(table);
  for (std::size_t line = 0; line < lines; ++line) {
    const std::string domain = Domain(line / kLinesOfDomain + 1);
    if (line % kLinesOfDomain == 0) {
      text << '@' << domain << "\tpostfix_err_nouser\n";
      continue;
    }
    const std::string address =
        "mailbox" + std::to_string(line % kLinesOfDomain - 1) + '@' + domain;
    text << address << '\t' << address << '\n';
  }
}

std::string MiddleAddress(std::size_t lines) {
  return "mailbox50@" + Domain(lines / kLinesOfDomain / 2 + 1);
}

Cursor<email::VirtualEmails> OpenAddresses(const std::filesystem::path& table) {
  return email::VirtualUserTable::Get<email::VirtualEmails>(table, false);
}

void SetTarget(const std::filesystem::path& table, const std::string& address,
               const std::string& target) {
  const auto line = OpenAddresses(table);
  line->Assert(address);
  line->target = target;
  line->Post("");
}

}  // namespace bench
