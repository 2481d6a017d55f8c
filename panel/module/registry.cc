/// NAME
///   registry - the module factories that plug-ins have registered

#include "panel/module/registry.h"

#include <algorithm>
#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <string>

#include "host/fen_err.h"
#include "host/zeb_api.h"

namespace panel {
namespace {

using Factory = zeb_api::BaseRegisterModule::Factory;

struct Entry {
  std::string name;
  Factory factory;
  std::unique_ptr<zeb_api::Module> module;
};

struct Registry {
  std::mutex mutex;
  std::deque<Entry> entries;  // an entry keeps its place while others are added
};

Registry& State() {
  static auto* const state = new Registry;  // never destroyed: modules live as long as the process
  return *state;
}

thread_local RegistrationScope* scope = nullptr;

void Add(const std::string& name, Factory factory) {
  if (factory == nullptr) throw fen_err::Error("module", name, "registered without a factory");
  const std::lock_guard lock(State().mutex);
  auto& entries = State().entries;
  const auto is_taken = [&name](const Entry& entry) { return entry.name == name; };
  if (std::any_of(entries.begin(), entries.end(), is_taken)) {
    throw fen_err::Error("module", name, "registered twice; two plug-ins cannot share this name");
  }
  entries.push_back({name, factory, nullptr});
}

Entry* At(std::size_t index) {
  const std::lock_guard lock(State().mutex);
  auto& entries = State().entries;
  return index < entries.size() ? &entries[index] : nullptr;
}

void Build(Entry& entry) {
  entry.module.reset(entry.factory());
  if (entry.module == nullptr) {
    throw fen_err::Error("module", entry.name, "its factory returned no module");
  }
}

}  // namespace

RegistrationScope::RegistrationScope() noexcept {
  scope = this;
}

RegistrationScope::~RegistrationScope() {
  scope = nullptr;
}

void RegistrationScope::Check() const {
  if (refusal_ != nullptr) std::rethrow_exception(refusal_);
}

bool RegistrationScope::Keep(const std::exception_ptr& refusal) noexcept {
  if (scope == nullptr) return false;
  if (scope->refusal_ == nullptr) scope->refusal_ = refusal;
  return true;
}

void BuildModules() {
  for (std::size_t index = 0; Entry* entry = At(index); ++index) {
    if (entry->module == nullptr) Build(*entry);
  }
}

}  // namespace panel

namespace zeb_api {

Module::Module(const char* name) : name_(name) {}

Module::~Module() = default;

void BaseRegisterModule::Register(const std::string& name, Factory factory) {
  try {
    panel::Add(name, factory);
  } catch (...) {
    if (!panel::RegistrationScope::Keep(std::current_exception())) throw;
  }
}

}  // namespace zeb_api
