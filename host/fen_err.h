/// NAME
///   fen_err - the panel's errors
///
/// PURPOSE
///   One exception type for every failure that a user or an administrator gets to see. It names
///   what kind of failure it is, what it concerns and with which value, so that the message can be
///   built in one place and read the same everywhere: "TYPE: OBJECT: VALUE".

#pragma once

#include <exception>
#include <string>

namespace fen_err {

class Error : public std::exception {
 public:
  /// A failure that needs no more than its name, such as "not_supported".
  explicit Error(const std::string& type);

  /// `type` is the kind of failure ("missing", "value", "changed", "email", ...), `object` what it
  /// concerns (a path, a field, a tool) and `value` the offending value or the detail of what
  /// happened, a tool's whole output for instance. Empty texts are left out of what().
  Error(const std::string& type, const std::string& object, const std::string& value);

  Error(const Error&) = default;
  Error& operator=(const Error&) = default;
  ~Error() override;

  const std::string& type() const noexcept { return type_; }
  const std::string& object() const noexcept { return object_; }
  const std::string& value() const noexcept { return value_; }

  /// Marks the error for reporting: the host writes it to its log besides passing it up.
  void set_report() noexcept { report_ = true; }
  bool report() const noexcept { return report_; }

  /// "TYPE: OBJECT: VALUE".
  const char* what() const noexcept override;

 private:
  std::string type_;
  std::string object_;
  std::string value_;
  std::string what_;
  bool report_ = false;
};

}  // namespace fen_err
