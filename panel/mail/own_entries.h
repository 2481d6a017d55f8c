/// NAME
///   own_entries - the entries of the aliases to which the tables of the panel lead

#pragma once

namespace panel::mail {

/// Bounces: for what is suspended, and for addresses that nobody has.
inline constexpr char kBounceEntry[] = "postfix_err_nouser";

/// Drops the message.
inline constexpr char kDiscardEntry[] = "devnull";

}  // namespace panel::mail
