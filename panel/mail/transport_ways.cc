/// NAME
///   transport_ways - which addresses transport_maps leads elsewhere

#include "panel/mail/transport_ways.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "panel/mail/extensions.h"
#include "panel/mail/main_cf.h"
#include "panel/mail/value_list.h"

namespace panel::mail {
namespace {

const char* const kMaps = "transport_maps";
const char* const kParents = "parent_domain_matches_subdomains";

/// What is looked up for an address, in this order.
class KeysOf {
 public:
  KeysOf() : extensions_(ReadExtensions()) {
    const std::vector<std::string> features =
        SplitList(ReadParameters({kParents})[kParents].expanded);
    parents_match_ = std::find(features.begin(), features.end(), kMaps) != features.end();
  }

  std::vector<std::string> operator()(const std::string& address) const {
    std::vector<std::string> keys = {address};
    const std::string stripped = extensions_.Strip(address);
    if (stripped != address) keys.push_back(stripped);
    const std::string domain = address.substr(address.rfind('@') + 1);
    keys.push_back(domain);
    for (std::size_t dot = domain.find('.'); dot != std::string::npos;
         dot = domain.find('.', dot + 1)) {
      keys.push_back(domain.substr(parents_match_ ? dot + 1 : dot));
    }
    keys.emplace_back("*");
    return keys;
  }

 private:
  Extensions extensions_;
  bool parents_match_ = false;
};

bool HasPatterns(const std::string& map) {
  constexpr std::string_view kProxy = "proxy:";
  const auto name = ParseMap(map.starts_with(kProxy) ? map.substr(kProxy.size()) : map);
  return name && (name->type == "regexp" || name->type == "pcre");
}

/// An empty transport, before the colon, is the usual one.
bool IsLocal(const std::string& way) {
  return way == "local" || way.starts_with("local:") || way.starts_with(':');
}

/// The first answer to the keys; none when no map has one.
const std::string* FirstAnswer(const std::vector<std::string>& keys,
                               const std::vector<Answers>& maps) {
  for (const std::string& key : keys) {
    for (const Answers& answers : maps) {
      const auto answer = answers.find(key);
      if (answer != answers.end()) return &answer->second;
    }
  }
  return nullptr;
}

}  // namespace

std::set<std::string> LedElsewhere(const std::vector<std::string>& addresses, Lookups& lookups) {
  std::set<std::string> elsewhere;
  const std::vector<std::string> maps = SplitList(ReadParameters({kMaps})[kMaps].expanded);
  if (maps.empty()) return elsewhere;
  const KeysOf keys_of;
  std::set<std::string> keys;
  for (const std::string& address : addresses) {
    for (std::string& key : keys_of(address)) keys.insert(std::move(key));
  }
  std::vector<Answers> answers;
  answers.reserve(maps.size());
  for (const std::string& map : maps) {
    answers.push_back(lookups.Ask(
        kMaps, map,
        HasPatterns(map) ? addresses : std::vector<std::string>(keys.begin(), keys.end())));
  }
  for (const std::string& address : addresses) {
    const std::string* const way = FirstAnswer(keys_of(address), answers);
    if (way != nullptr && !IsLocal(*way)) elsewhere.insert(address);
  }
  return elsewhere;
}

}  // namespace panel::mail
