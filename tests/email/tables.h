/// NAME
///   tables - the tables of a test panel, opened as the back-end opens them

#pragma once

#include <string>
#include <utility>
#include <vector>

#include "email/access_db.h"
#include "email/alias_table.h"
#include "email/local_host_names.h"
#include "email/virtual_user_table.h"
#include "tests/support/test_panel.h"

namespace test_support {

inline Cursor<email::VirtualDomains> DomainLines(const TestPanel& panel) {
  return email::VirtualUserTable::Get<email::VirtualDomains>(panel.Table("virtusertable"), true);
}

inline Cursor<email::VirtualEmails> AddressLines(const TestPanel& panel) {
  return email::VirtualUserTable::Get<email::VirtualEmails>(panel.Table("virtusertable"), true);
}

inline Cursor<email::HostNames> HostLines(const TestPanel& panel) {
  return email::LocalHostNames::Get<email::HostNames>(panel.Table("local-host-names"), true);
}

inline Cursor<email::SourceTarget> AccessLines(const TestPanel& panel) {
  return email::AccessDb::Get<email::SourceTarget>(panel.Table("access"), true);
}

inline Cursor<email::Aliases> AliasLines(const TestPanel& panel) {
  return email::AliasTable::Get<email::Aliases>(panel.Table("aliases"), true);
}

/// A record with a list, as "name=value|value".
inline std::string NameAndList(const dd::Field& name, const dd::ArrayField& list) {
  std::string text = name.Str();
  for (std::size_t i = 0; i < list.Size(); ++i) {
    text += i == 0 ? '=' : '|';
    text += list[i];
  }
  return text;
}

/// All records of a cursor, read by `read`, in the order of the file.
template <class R, class Read>
auto All(const Cursor<R>& records, Read read) {
  std::vector<decltype(read(*records))> all;
  for (records->First(); !records->Eof(); records->Next()) all.push_back(read(*records));
  return all;
}

}  // namespace test_support
