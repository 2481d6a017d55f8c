/// NAME
///   changed_map_test - a running Postfix goes by a map that has changed
///
/// PURPOSE
///   zebmail-postmap changes entries in the map that Postfix has open, and puts a whole map in its
///   place. Both must reach processes that have read the map before.

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "tests/delivery/private_postfix.h"
#include "tests/delivery/smtp_session.h"
#include "tests/support/command.h"
#include "tests/support/temp_folder.h"

namespace test_support {
namespace {

class ChangedMap : public testing::TestWithParam<const char*> {
 protected:
  ChangedMap() : postfix_(folder_.path(), GetParam()) {
    std::filesystem::create_directory(folder_.Path("state"));
    folder_.WriteText("mail/local-host-names", "example.org\n");
    folder_.WriteText("mail/domainips", "");
    Build("aliases", "postmaster: daemon\n", "postalias");
    Build("virtusertable", "info@example.org daemon\n", "postmap");
    Build("access", "example.net REJECT\n", "postmap");
    postfix_.Start();
  }

  /// Returns what the program says that it has done.
  std::string Build(const std::string& table, const std::string& text,
                    const std::string& program) const {
    const std::filesystem::path path = folder_.WriteText("mail/" + table, text);
    return RunCommand({std::string(ZEBMAIL_MAPS_FOLDER) + "/zebmail-" + program, "--state",
                       folder_.Path("state"), "--explain", "-c", postfix_.config_dir(), path})
        .errors;
  }

  bool IsRefused(const std::string& recipient) const {
    return AskForRecipient(postfix_.port(), "a@sender.test", recipient).code == 550;
  }

  void WaitUntilRefused(const std::string& recipient, bool is_refused) const {
    postfix_.WaitUntil(recipient, [&] { return IsRefused(recipient) == is_refused; });
  }

  TempFolder folder_;
  PrivatePostfix postfix_;
};

INSTANTIATE_TEST_SUITE_P(Types, ChangedMap, testing::Values("hash", "lmdb"),
                         [](const auto& type) { return std::string(type.param); });

TEST_P(ChangedMap, IsReadAfterItsEntriesHaveChanged) {
  EXPECT_TRUE(IsRefused("new@example.org"));
  EXPECT_FALSE(IsRefused("info@example.org"));
  postfix_.LeaveThisSecond();

  const std::string way = Build("virtusertable", "new@example.org daemon\n", "postmap");

  EXPECT_NE(way.find("1 entries put, 1 removed"), std::string::npos) << way;
  WaitUntilRefused("new@example.org", false);
  WaitUntilRefused("info@example.org", true);
}

TEST_P(ChangedMap, IsReadAfterAnotherHasTakenItsPlace) {
  EXPECT_TRUE(IsRefused("new@example.org"));
  EXPECT_FALSE(IsRefused("info@example.org"));

  const std::string way =
      Build("virtusertable", "new@example.org daemon\nnew@example.org nobody\n", "postmap");

  EXPECT_NE(way.find("the whole map is built"), std::string::npos) << way;
  EXPECT_EQ(way.find("in place"), std::string::npos) << way;
  WaitUntilRefused("new@example.org", false);
  WaitUntilRefused("info@example.org", true);
}

}  // namespace
}  // namespace test_support
