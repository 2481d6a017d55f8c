/// NAME
///   map_tool_parts - the parts of zebmail-postmap(1)

#include <string>

#include "packaging/manual/mdoc.h"
#include "packaging/manual/parts.h"
#include "zebmail/maps/arguments.h"

namespace manual {
namespace {

using zebmail::maps::OwnOption;

std::string Macros(const OwnOption& option) {
  const std::string flag = "Fl Fl " + Word(option.name.substr(2));
  return option.value.empty() ? flag : flag + " Ar " + Word(option.value);
}

/// The usage of the program `name`; `behind` is what stands behind its options.
std::string Usage(const std::string& name, const std::string& behind) {
  std::string usage = ".Nm " + name + "\n";
  for (const OwnOption& option : zebmail::maps::kOwnOptions)
    usage += ".Op " + Macros(option) + "\n";
  return usage + behind;
}

}  // namespace

Parts MapToolParts() {
  const std::string map = ".Op Fl c Ar DIR\n.Ar [TYPE:]FILE\n";
  std::string items;
  for (const OwnOption& option : zebmail::maps::kOwnOptions) {
    items += ".It " + Macros(option) + "\n" + Sentence(option.text);
  }
  return {{"SYNOPSIS", Usage("zebmail-postmap", map) + Usage("zebmail-postalias", map)},
          {"OPTIONS", ".Bl -tag -width Ds\n" + items + ".El\n"}};
}

}  // namespace manual
