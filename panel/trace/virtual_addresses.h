/// NAME
///   virtual_addresses - what the virtual user table makes of an address
///
/// PURPOSE
///   Does what cleanup(8) does with a recipient: it looks the address up, replaces it by what the
///   line names, and does the same with each of those, until an address has no line or one that
///   leads to itself.

#pragma once

#include <cstddef>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "panel/trace/local_names.h"
#include "panel/trace/settings.h"
#include "panel/trace/traced_table.h"

namespace panel::trace {

/// What the table has for an address.
struct VirtualLine {
  std::vector<std::string> keys;  ///< that were looked up, in this order
  const Entry* entry = nullptr;   ///< null when there is none
  std::vector<std::string> targets;
};

/// An address that a message comes to, and what becomes of it.
struct VirtualNode {
  std::string address;
  std::vector<std::size_t> targets{};  ///< what its line leads to, as indices of nodes
  bool is_final = false;               ///< it is delivered to
};

struct Expansion {
  std::vector<VirtualNode> nodes;  ///< the first one is where it begins
  std::string failure;             ///< why Postfix does not take the message; empty when it does
};

class VirtualAddresses {
 public:
  /// All of them must outlive it.
  VirtualAddresses(TracedTable& table, LocalNames& names, const Settings& settings);

  VirtualLine LookUp(const std::string& text);

  Expansion Expand(const std::string& address);

 private:
  bool IsOwn(const std::string& domain);
  void Follow(Expansion& expansion, std::vector<std::size_t>& recipients, std::size_t place,
              std::set<std::string>& ended);
  void Replace(Expansion& expansion, std::vector<std::size_t>& recipients, std::size_t place,
               const std::vector<std::string>& targets, std::set<std::string>& ended) const;

  TracedTable& table_;
  LocalNames& names_;
  const Settings& settings_;
};

}  // namespace panel::trace
