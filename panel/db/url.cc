/// NAME
///   url - where the panel database is

#include "panel/db/url.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <vector>

#include "host/fen_err.h"
#include "panel/db/database.h"
#include "panel/text/control_characters.h"

namespace panel::db {
namespace {

constexpr std::string_view kSqlite = "sqlite3://";
constexpr std::string_view kPostgresql = "postgresql://";
constexpr const char* kHidden = "***";

constexpr const char* kWhatToWrite =
    "write sqlite3:///ABSOLUTE/PATH or postgresql://HOST/DATABASE?user=NAME";

/// A panel must not stand still for minutes because a server does not answer, nor for hours because
/// one is gone without a word.
constexpr std::array<std::string_view, 4> kDefaults = {
    "connect_timeout=10", "keepalives_idle=30", "keepalives_interval=10", "keepalives_count=3"};

/// A part of a text, from `begin` up to `end`.
struct Span {
  std::size_t begin;
  std::size_t end;
};

[[noreturn]] void Refuse(const std::string& url, const std::string& why) {
  throw fen_err::Error("database", PrintableUrl(url), why);
}

/// Whether `text` is a list of parameters, "user=me&port=5433".
bool IsQuery(std::string_view text) {
  for (;;) {
    const std::size_t end = text.find('&');
    if (text.substr(0, end).find('=') == std::string_view::npos) return false;
    if (end == std::string_view::npos) return true;
    text.remove_prefix(end + 1);
  }
}

/// Where the "?" of a URL's query is, or the URL's end. A password that should have been encoded
/// may hold any sign, a "?" as well.
std::size_t QueryMark(std::string_view url) {
  const std::size_t mark = url.rfind('?');
  return mark != std::string_view::npos && IsQuery(url.substr(mark + 1)) ? mark : url.size();
}

/// The password between "user:" and "@", up to the last "@" that can end it.
std::optional<Span> PasswordOfUser(std::string_view url) {
  const std::size_t scheme = url.find("://");
  if (scheme == std::string_view::npos || url.starts_with(kSqlite)) return std::nullopt;
  const std::size_t host = scheme + 3;
  const std::size_t end = std::max(std::min(url.find('/', host), url.size()), QueryMark(url));
  const std::size_t at = url.substr(0, end).rfind('@');
  const std::size_t colon = url.find(':', host);
  if (at == std::string_view::npos || colon >= at) return std::nullopt;
  return Span{colon + 1, at};
}

/// The passwords among a URL's parameters.
std::vector<Span> PasswordsOfQuery(std::string_view url) {
  std::vector<Span> spans;
  for (std::size_t begin = QueryMark(url) + 1; begin < url.size();) {
    const std::size_t end = std::min(url.find('&', begin), url.size());
    const std::size_t equals = url.find('=', begin);
    if (url.substr(begin, equals - begin).ends_with("password")) spans.push_back({equals + 1, end});
    begin = end + 1;
  }
  return spans;
}

std::vector<Span> Passwords(std::string_view url) {
  std::vector<Span> spans = PasswordsOfQuery(url);
  if (const auto span = PasswordOfUser(url)) spans.insert(spans.begin(), *span);
  return spans;
}

Location SqliteLocation(const std::string& url) {
  const std::string path = url.substr(kSqlite.size());
  if (!path.starts_with('/') || path.ends_with('/')) Refuse(url, kWhatToWrite);
  if (path.find('"') != std::string::npos) Refuse(url, "the path must not hold a double quote");
  return {Kind::kSqlite, "sqlite3", "dbname=\"" + path + "\"", path};
}

/// What libpq reads beyond the database's name is its own business; a URL that it would refuse as a
/// whole is refused here, because its message repeats the URL.
void CheckPostgresqlUrl(const std::string& url) {
  const std::size_t host = kPostgresql.size();
  const std::size_t slash = url.find('/', host);
  const std::size_t mark = url.find('?', host);
  const bool has_name = slash < mark && slash + 1 < std::min(mark, url.size());
  if (!has_name) Refuse(url, kWhatToWrite);
  if (std::count(url.begin(), url.end(), '@') > 1) {
    Refuse(url, "write %40 for the \"@\" of a name or a password");
  }
  const bool is_plain = std::all_of(url.begin(), url.end(), [](char character) {
    return character > ' ' && character < '\x7f' && character != '\'' && character != '"';
  });
  if (!is_plain) Refuse(url, "write %XX for blanks, quotes and letters outside ASCII");
}

Location PostgresqlLocation(const std::string& url) {
  CheckPostgresqlUrl(url);
  std::string connect_string = url;
  const std::size_t mark = QueryMark(url);
  for (const std::string_view one : kDefaults) {
    if (url.find(one.substr(0, one.find('=') + 1), mark) != std::string::npos) continue;
    connect_string += connect_string.size() == mark ? '?' : '&';
    connect_string += one;
  }
  return {Kind::kPostgresql, "postgresql", connect_string, {}};
}

}  // namespace

Location ParseUrl(const std::string& url) {
  if (HasControlCharacters(url)) Refuse(url, "must not hold control characters");
  if (url.starts_with(kSqlite)) return SqliteLocation(url);
  if (url.starts_with(kPostgresql)) return PostgresqlLocation(url);
  Refuse(url, kWhatToWrite);
}

std::string PrintableUrl(const std::string& url) {
  std::string shown;
  std::size_t from = 0;
  for (const Span& span : Passwords(url)) {
    if (span.begin < from) continue;
    shown += url.substr(from, span.begin - from) + kHidden;
    from = span.end;
  }
  return shown + url.substr(from);
}

std::string WithoutPassword(const std::string& text, const std::string& url) {
  std::string shown = text;
  for (const Span& span : Passwords(url)) {
    const std::string password = url.substr(span.begin, span.end - span.begin);
    if (password.empty()) continue;
    for (std::size_t at = 0; (at = shown.find(password, at)) != std::string::npos;) {
      shown.replace(at, password.size(), kHidden);
      at += std::string_view(kHidden).size();
    }
  }
  return shown;
}

}  // namespace panel::db
