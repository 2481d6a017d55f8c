/// NAME
///   own_addresses - the network addresses of this machine

#include "panel/process/own_addresses.h"

#include <array>
#include <cerrno>
#include <memory>
#include <system_error>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include "host/fen_err.h"

namespace panel {
namespace {

using Addresses = std::unique_ptr<ifaddrs, decltype(&freeifaddrs)>;

Addresses OwnAddresses() {
  ifaddrs* first = nullptr;
  if (getifaddrs(&first) != 0) {
    throw fen_err::Error("failure", "the addresses of this machine",
                         std::generic_category().message(errno));
  }
  return {first, &freeifaddrs};
}

std::string TextOf(const sockaddr& address) {
  std::array<char, INET6_ADDRSTRLEN> text{};
  const void* binary = nullptr;
  if (address.sa_family == AF_INET) {
    binary = &reinterpret_cast<const sockaddr_in&>(address).sin_addr;
  } else if (address.sa_family == AF_INET6) {
    const in6_addr& ip6 = reinterpret_cast<const sockaddr_in6&>(address).sin6_addr;
    if (!IN6_IS_ADDR_LINKLOCAL(&ip6)) binary = &ip6;
  }
  if (binary == nullptr) return "";
  return inet_ntop(address.sa_family, binary, text.data(), text.size());
}

}  // namespace

bool IsOwnAddress(const std::string& address) {
  if (address.starts_with("127.")) return true;
  const Addresses addresses = OwnAddresses();
  for (const ifaddrs* one = addresses.get(); one != nullptr; one = one->ifa_next) {
    if (one->ifa_addr != nullptr && TextOf(*one->ifa_addr) == address) return true;
  }
  return false;
}

bool CanBeOfHost(const std::string& address) {
  in_addr ip{};
  in6_addr ip6{};
  if (inet_pton(AF_INET, address.c_str(), &ip) == 1) {
    const in_addr_t number = ntohl(ip.s_addr);
    return number != INADDR_ANY && number != INADDR_BROADCAST && !IN_MULTICAST(number);
  }
  return inet_pton(AF_INET6, address.c_str(), &ip6) == 1 && !IN6_IS_ADDR_UNSPECIFIED(&ip6) &&
         !IN6_IS_ADDR_MULTICAST(&ip6) && !IN6_IS_ADDR_LINKLOCAL(&ip6);
}

std::string WithoutGuise(const std::string& address) {
  const std::string guise = "::ffff:";
  const bool is_in_guise = address.starts_with(guise) && address.find('.') != std::string::npos;
  return is_in_guise ? address.substr(guise.size()) : address;
}

}  // namespace panel
