/// NAME
///   registry - the module factories that plug-ins have registered
///
/// PURPOSE
///   Plug-ins register from static initialisers (host/zeb_api.h), before the panel has asked for
///   anything; the loader has the modules built later. They are kept here for the process's life.

#pragma once

#include <exception>

namespace panel {

/// While one lives, a registration that is refused in this thread is kept for Check() instead of
/// thrown: an exception must not pass through the dynamic loader, which would keep its lock.
class RegistrationScope {
 public:
  RegistrationScope() noexcept;
  ~RegistrationScope();

  RegistrationScope(const RegistrationScope&) = delete;
  RegistrationScope& operator=(const RegistrationScope&) = delete;

  /// Throws the first refusal, if there was one.
  void Check() const;

  /// Keeps `refusal` in this thread's scope; returns whether there is one.
  static bool Keep(const std::exception_ptr& refusal) noexcept;

 private:
  std::exception_ptr refusal_;
};

/// Calls the factories that have not made their module yet, in the order of registration. Only one
/// thread may do so at a time.
void BuildModules();

}  // namespace panel
