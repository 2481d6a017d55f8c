/// NAME
///   plug_in_file_test - what the built plug-in needs from the system

#include <algorithm>
#include <regex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/command.h"

namespace {

/// The shared libraries that the object at `path` names as needed.
std::vector<std::string> NeededBy(const std::string& path) {
  const auto run = test_support::RunCommand({"readelf", "-d", "-W", path});
  EXPECT_EQ(run.status, 0) << run.errors;
  const std::regex needed("\\(NEEDED\\).*\\[(.*)\\]");
  std::vector<std::string> libraries;
  for (std::sregex_iterator match(run.output.begin(), run.output.end(), needed), end; match != end;
       ++match) {
    libraries.push_back((*match)[1]);
  }
  return libraries;
}

/// Whether it is the panel's library, or the C and C++ runtime with what a sanitizer adds to it.
bool IsAllowed(const std::string& library) {
  static const std::regex allowed(
      "libzebapi\\.so|lib(stdc\\+\\+|m|gcc_s|c|pthread|asan|ubsan|tsan)\\.so\\.[0-9]+|"
      "ld-linux.*\\.so\\.[0-9]+");
  return std::regex_match(library, allowed);
}

}  // namespace

TEST(PlugInFile, NeedsThePanelsLibraryAndTheRuntimeOnly) {
  const std::vector<std::string> libraries = NeededBy(ZEBMAIL_PLUGIN);
  EXPECT_EQ(std::count(libraries.begin(), libraries.end(), "libzebapi.so"), 1);
  for (const std::string& library : libraries) EXPECT_TRUE(IsAllowed(library)) << library;
}
