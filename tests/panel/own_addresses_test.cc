/// NAME
///   own_addresses_test - which addresses are this machine's own
///
/// PURPOSE
///   The kernel knows best: an address is the machine's own when a socket can be bound to it. The
///   addresses to ask about are those that the kernel lists, and some that no machine has.

#include "panel/process/own_addresses.h"

#include <array>
#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "panel/process/file_handle.h"

namespace panel {
namespace {

using Addresses = std::vector<std::string>;

template <class Address>
bool CanBind(const Address& address, int family) {
  const FileHandle end(socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0));
  return end && bind(end.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

/// Whether a socket can be bound to the address.
bool CanBind(const std::string& text) {
  sockaddr_in ip4{};
  ip4.sin_family = AF_INET;
  if (inet_pton(AF_INET, text.c_str(), &ip4.sin_addr) == 1) return CanBind(ip4, AF_INET);
  sockaddr_in6 ip6{};
  ip6.sin6_family = AF_INET6;
  EXPECT_EQ(inet_pton(AF_INET6, text.c_str(), &ip6.sin6_addr), 1) << text;
  return CanBind(ip6, AF_INET6);
}

/// The IPv4 addresses that the kernel takes for local: each stands on a line of its own, above one
/// that says so.
Addresses ListedIp4() {
  std::ifstream table("/proc/net/fib_trie");
  Addresses addresses;
  std::string last;
  for (std::string line; std::getline(table, line);) {
    const std::size_t mark = line.find("|-- ");
    if (mark != std::string::npos) last = line.substr(mark + 4);
    if (line.find("/32 host LOCAL") != std::string::npos) addresses.push_back(last);
  }
  return addresses;
}

/// The IPv6 addresses of all interfaces, which the kernel lists in 32 digits each. Those of one
/// link alone begin with "fe80".
Addresses ListedIp6(bool of_one_link) {
  std::ifstream table("/proc/net/if_inet6");
  Addresses addresses;
  for (std::string line; std::getline(table, line);) {
    if (line.starts_with("fe80") != of_one_link) continue;
    in6_addr binary{};
    for (std::size_t i = 0; i < 16; ++i)
      binary.s6_addr[i] = static_cast<std::uint8_t>(std::stoi(line.substr(2 * i, 2), nullptr, 16));
    std::array<char, INET6_ADDRSTRLEN> text{};
    addresses.emplace_back(inet_ntop(AF_INET6, &binary, text.data(), text.size()));
  }
  return addresses;
}

TEST(OwnAddress, IsEachThatTheKernelLists) {
  const Addresses ip4 = ListedIp4();
  EXPECT_NE(ip4, Addresses{});
  for (const std::string& address : ip4) EXPECT_TRUE(IsOwnAddress(address)) << address;
  for (const std::string& address : ListedIp6(false)) EXPECT_TRUE(IsOwnAddress(address)) << address;
}

TEST(OwnAddress, IsAnyOfTheLoopbackNetwork) {
  for (const char* address : {"127.0.0.1", "127.0.0.10", "127.255.255.254"}) {
    EXPECT_TRUE(CanBind(address)) << address;
    EXPECT_TRUE(IsOwnAddress(address)) << address;
  }
}

TEST(OwnAddress, IsOneToWhichAProgramCanBind) {
  for (const char* address :
       {"127.0.0.1", "::1", "192.0.2.1", "192.0.2.2", "198.51.100.7", "203.0.113.10", "8.8.8.8",
        "12.7.0.1", "2001:db8::1", "fd00::1:2", "::ffff:203.0.113.10"}) {
    EXPECT_EQ(IsOwnAddress(address), CanBind(address)) << address;
  }
}

TEST(OwnAddress, IsNoneOfADocumentation) {
  for (const char* address : {"203.0.113.10", "2001:db8::1"}) {
    EXPECT_FALSE(IsOwnAddress(address)) << address;
  }
}

/// Without the link nobody can tell which one is meant.
TEST(OwnAddress, IsNoneOfOneLinkAlone) {
  for (const std::string& address : ListedIp6(true)) {
    EXPECT_FALSE(CanBind(address)) << address;
    EXPECT_FALSE(IsOwnAddress(address)) << address;
  }
}

TEST(AddressOfHost, IsThatOfOneMachine) {
  for (const char* address : {"192.0.2.1", "127.0.0.1", "2001:db8::1", "::1"}) {
    EXPECT_TRUE(panel::CanBeOfHost(address)) << address;
  }
  for (const char* address : {"0.0.0.0", "255.255.255.255", "224.0.0.1", "::", "ff02::1", ""}) {
    EXPECT_FALSE(panel::CanBeOfHost(address)) << address;
  }
}

}  // namespace
}  // namespace panel
