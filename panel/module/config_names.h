/// NAME
///   config_names - the names that a configuration file can hold, and what they mean
///
/// PURPOSE
///   One list for all that reads names, explains them or offers them. Which keys there are is
///   fixed; sections of names may hold more than is listed here, for plug-ins ask for names of
///   their own.

#pragma once

#include <array>
#include <string_view>

namespace panel {

struct ConfigKey {
  std::string_view name;
  bool is_section;
  std::string_view text;
};

inline constexpr std::array<ConfigKey, 6> kConfigKeys = {{
    {"state_dir", false,
     "The folder of the panel's state: its lock, its log, notes of outstanding work, what the "
     "responders work with. An absolute path. Others than root must not be able to write there."},
    {"module_dir", false, "The folder of the plug-ins. An absolute path."},
    {"database", false,
     "Where the panel's database is: sqlite3:///ABSOLUTE/PATH for a file, or "
     "postgresql://HOST/NAME?user=USER for a database on a PostgreSQL server, with the parameters "
     "that its library knows."},
    {"tool_timeout", false,
     "For how many seconds a program that the panel runs, postmap say, may run before it is "
     "killed, from 1 to 86400."},
    {"param", true, "Parameters of the panel and its plug-ins."},
    {"path", true,
     "The files and programs of the mail server, by name. Each is an absolute path. Behind that "
     "of a program may stand options for it, separated by blanks."},
}};

struct ConfigName {
  std::string_view name;
  std::string_view text;
};

inline constexpr std::array<ConfigName, 1> kParameters = {{
    {"MTA", "The mail server that the panel works for: \"postfix\"."},
}};

inline constexpr std::array<ConfigName, 10> kPathNames = {{
    {"postfix-bin",
     "The program postfix(1), by which Postfix is told to reload. It has no default; zebmail init "
     "sets it."},
    {"postfix-postmap",
     "What builds the map of the virtual user table and that of the access table: postmap(1), or "
     "zebmail-postmap(1), which changes single entries."},
    {"postfix-postalias",
     "What builds the map of the aliases: postalias(1), or zebmail-postalias(1)."},
    {"postfix-virtusertable",
     "The virtual user table: where mail for each address of the panel goes."},
    {"postfix-localhostnames", "The list of the domains that this server takes mail for."},
    {"postfix-accessdb", "The access table: suspensions, and the white and the black list."},
    {"postfix-aliases", "The aliases, by which forwards, responders and discarded mail work."},
    {"postfix-domainips",
     "The table of domains whose mail leaves from an address of their own. It has no default; "
     "zebmail init sets it."},
    {"postfix-master",
     "The master.cf of Postfix, in which such a domain gets its service. It has no default; "
     "zebmail init sets it."},
    {"zebmail-answer",
     "The program that answers for mailboxes with a responder. Without it zebmail-answer beside "
     "the folder module_dir."},
}};

}  // namespace panel
