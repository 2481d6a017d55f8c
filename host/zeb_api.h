/// NAME
///   zeb_api - how a plug-in presents itself to the panel
///
/// PURPOSE
///   A plug-in is a shared object. Loading it runs its static initialisers, which register one
///   factory for each module; when the panel sets up its modules it calls every registered factory
///   once and keeps what they return for the life of the process.

#pragma once

#include <string>

namespace zeb_api {

class Module {
 public:
  /// `name` is the module's name in messages; the text is copied.
  explicit Module(const char* name);
  virtual ~Module();

  Module(const Module&) = delete;
  Module& operator=(const Module&) = delete;

  const std::string& name() const noexcept { return name_; }

 private:
  std::string name_;
};

class BaseRegisterModule {
 public:
  using Factory = Module* (*)();

  /// Registers `factory` under `name`. The panel owns what the factory returns; an exception that
  /// leaves the factory ends the set-up of modules and reaches the administrator with its text.
  /// Throws fen_err::Error("module", name, ...) when the name is taken.
  void Register(const std::string& name, Factory factory);
};

/// The registration of the module class `M`, made once for each class as a static object.
template <class M>
class RegisterModule : public BaseRegisterModule {
 public:
  explicit RegisterModule(const std::string& name) { Register(name, &Constructor); }

  /// Builds one `M`. When its constructor throws, its memory is freed and the exception passes on.
  static Module* Constructor() { return new M; }
};

}  // namespace zeb_api
