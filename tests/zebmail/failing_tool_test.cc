/// NAME
///   failing_tool_test - the ways in which a tool can fail, as the administrator sees them

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/zebmail/own_panel.h"

namespace zebmail_test {
namespace {

using testing::HasSubstr;

struct FailingTool {
  const char* name;
  std::string script;  ///< of a postmap; empty for none
  mode_t mode;
  std::string errors;  ///< a part of what is said; TOOL stands for its path
};

std::string CaseName(const testing::TestParamInfo<FailingTool>& tool) {
  return tool.param.name;
}

/// So much of what a tool prints is shown; each byte of it takes up to four.
constexpr std::size_t kMostShown = std::size_t{5} * 64 * 1024;

class ToolThat : public testing::TestWithParam<FailingTool> {
 protected:
  ToolThat() {
    panel_.Do({"domain", "create", "example.org"});
    test_support::RunCommand({"/bin/ln", "-s", "/usr/sbin/postconf", panel_.Path("postconf")});
    if (!GetParam().script.empty()) {
      panel_.folder().WriteText("postmap", GetParam().script);
      test_support::SetMode(Tool(), GetParam().mode);
    }
    panel_.Configure("postfix-postmap", Tool());
    SetTimeout(std::string(GetParam().name).starts_with("Hangs") ? "2" : "60");
  }

  std::string Tool() const { return panel_.Path("postmap"); }

  void SetTimeout(const std::string& seconds) const {
    std::string text = panel_.folder().ReadText("panel/zebmail.toml");
    const std::size_t begin = text.find("tool_timeout = ");
    text.replace(begin, text.find('\n', begin) - begin, "tool_timeout = " + seconds);
    panel_.folder().WriteText("panel/zebmail.toml", text);
  }

  std::string Expected() const {
    std::string text = GetParam().errors;
    const std::size_t at = text.find("TOOL");
    return at == std::string::npos ? text : text.replace(at, 4, Tool());
  }

  const OwnPanel panel_;
};

TEST_P(ToolThat, IsReportedAndMadeUpFor) {
  const std::string table = panel_.Path("panel/mail/virtusertable");

  const CommandRun run =
      panel_.Run({"domain", "update", "example.org", "--default-action", "ignore"});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output, "");
  EXPECT_THAT(run.errors, testing::StartsWith("zebmail: email: postmap"));
  EXPECT_THAT(run.errors, HasSubstr(Expected()));
  EXPECT_THAT(run.errors, HasSubstr("the database and the table files hold the change\n"
                                    "outstanding: " +
                                    table + " was saved, but "));
  EXPECT_LT(run.errors.size(), kMostShown);
  EXPECT_EQ(run.errors.find_first_of(std::string("\0\x1b\xff\r", 4)), std::string::npos);
  EXPECT_EQ(panel_.Table("virtusertable"), "@example.org\tdevnull\n");
  EXPECT_EQ(panel_.Lookup("virtusertable", "@example.org"), "postfix_err_nouser");

  panel_.Configure("postfix-postmap", "/usr/sbin/postmap -c " + panel_.Path("config"));
  SetTimeout("600");
  panel_.Do({"domain", "create", "example.net"});
  EXPECT_EQ(panel_.Lookup("virtusertable", "@example.org"), "devnull");
  EXPECT_EQ(panel_.Do({"check"}), "nothing is wrong\n");
}

INSTANTIATE_TEST_SUITE_P(
    Fails, ToolThat,
    testing::Values(
        FailingTool{"IsMissing", "", 0,
                    "TOOL cannot be started: No such file or directory\n"
                    "Set the path \"postfix-postmap\" in the section [path] of "},
        FailingTool{"CannotBeExecuted", "#!/bin/sh\n", 0644,
                    "TOOL cannot be started: Permission denied\n"
                    "Set the path \"postfix-postmap\" in the section [path] of "},
        FailingTool{"SaysNothing", "#!/bin/sh\nexit 1\n", 0755, "email: postmap"},
        FailingTool{"IsKilled", "#!/bin/sh\necho so far\nkill -9 $$\n", 0755,
                    "so far\nTOOL was ended by signal 9 (Killed)\n"},
        FailingTool{"Hangs", "#!/bin/sh\nexec sleep 600\n", 0755,
                    "TOOL ran longer than 2 s and was killed\n"},
        FailingTool{"HangsWithChildren", "#!/bin/sh\nsleep 600 &\nsleep 600\n", 0755,
                    "TOOL ran longer than 2 s and was killed\n"},
        FailingTool{"PrintsAGigabyte",
                    "#!/bin/sh\nyes 0123456789 | head -c 1000000000\necho the end\nexit 1\n", 0755,
                    "the end\n"},
        FailingTool{"PrintsBinary", "#!/bin/sh\nprintf 'a\\377\\000\\033[2Jb\\r\\n'\nexit 1\n",
                    0755, "a\\xff\\x00\\x1b[2Jb\n"}),
    CaseName);

}  // namespace
}  // namespace zebmail_test
