/// NAME
///   error - the text of an error

#include "host/fen_err.h"

namespace fen_err {
namespace {

void AppendPart(std::string& text, const std::string& part) {
  if (part.empty()) return;
  if (!text.empty()) text += ": ";
  text += part;
}

}  // namespace

Error::Error(const std::string& type) : Error(type, "", "") {}

Error::Error(const std::string& type, const std::string& object, const std::string& value)
    : type_(type), object_(object), value_(value) {
  AppendPart(what_, type);
  AppendPart(what_, object);
  AppendPart(what_, value);
}

Error::~Error() = default;

const char* Error::what() const noexcept {
  return what_.c_str();
}

}  // namespace fen_err
