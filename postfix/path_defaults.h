/// NAME
///   path_defaults - where the files and programs of Postfix are, unless the configuration says

#pragma once

#include <array>

namespace zebpriv_email_postfix {

struct PathDefault {
  const char* name;
  const char* path;
};

/// The blank behind "postfix-bin" keeps this default out of the way of a reload, which looks up the
/// name without it: a server is reloaded only where the panel's configuration says how.
inline constexpr std::array<PathDefault, 7> kPathDefaults = {{
    {"postfix-bin ", "/usr/sbin/postfix"},
    {"postfix-virtusertable", "/etc/mail/virtusertable"},
    {"postfix-localhostnames", "/etc/mail/local-host-names"},
    {"postfix-accessdb", "/etc/mail/access"},
    {"postfix-aliases", "/etc/mail/aliases"},
    {"postfix-postmap", "/usr/sbin/postmap"},
    {"postfix-postalias", "/usr/sbin/postalias"},
}};

}  // namespace zebpriv_email_postfix
