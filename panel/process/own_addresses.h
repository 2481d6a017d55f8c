/// NAME
///   own_addresses - the network addresses of this machine

#pragma once

#include <string>

namespace panel {

/// Whether a program of this machine can use `address`, an IPv4 or IPv6 address in its normal form,
/// as its own: one of an interface, or any of the loopback network. One that is good for a single
/// link is not: nobody can use it without naming the link. Throws fen_err::Error("failure", ...)
/// when the system does not tell.
bool IsOwnAddress(const std::string& address);

/// Whether `address`, in its normal form, can be that of one machine by itself: not that of all, of
/// a group or of none, nor one that means something on a single link only.
bool CanBeOfHost(const std::string& address);

/// An IPv4 address in the guise of an IPv6 one ("::ffff:192.0.2.1", RFC 4291, 2.5.5.2) as it is;
/// any other in its normal form unchanged.
std::string WithoutGuise(const std::string& address);

}  // namespace panel
