/// NAME
///   default_actions_test - a domain's default action as the target of its line

#include <string>
#include <vector>

#include "tests/postfix/back_end.h"

namespace {

using test_support::DomainPtr;
using test_support::DomainRow;

using Lines = std::vector<std::string>;

struct DefaultActions : test_support::BackEndTest {
  /// The virtual user table after the creation of a domain with this action.
  std::string Written(const std::string& action, const std::string& redirect) {
    auto domain = DomainRow("d.example", action);
    domain->redirect = redirect;
    back_end.CreateDomain(domain);
    return panel.Text("virtusertable");
  }

  /// The action and the redirect of a domain, "old" and "old.example" before, whose line with this
  /// target has been read into the database.
  Lines Read(const std::string& target) {
    const DomainPtr domain = rows.AddDomain("d.example");
    domain->defaction = "old";
    domain->redirect = "old.example";
    domain->Post();
    panel.SetText("virtusertable", "@d.example\t" + target + "\n");
    back_end.CacheDomains();
    return {rows.Query("SELECT defaction FROM email_domain").at(0),
            rows.Query("SELECT redirect FROM email_domain").at(0)};
  }
};

}  // namespace

TEST_F(DefaultActions, WriteErrorAsTheBouncingAlias) {
  EXPECT_EQ(Written("error", ""), "@d.example\tpostfix_err_nouser\n");
}

TEST_F(DefaultActions, WriteIgnoreAsTheDiscardingAlias) {
  EXPECT_EQ(Written("ignore", ""), "@d.example\tdevnull\n");
}

TEST_F(DefaultActions, WriteARedirectionToAnAddressAsIt) {
  EXPECT_EQ(Written("redir_email", "x@d.example"), "@d.example\tx@d.example\n");
}

TEST_F(DefaultActions, WriteARedirectionToADomainWithAt) {
  EXPECT_EQ(Written("redir_domain", "other.example"), "@d.example\t@other.example\n");
}

TEST_F(DefaultActions, WriteNoTargetForAnEmptyOrUnknownAction) {
  EXPECT_EQ(Written("", "x@d.example"), "@d.example\t\n");
  EXPECT_EQ(Written("Error", "x@d.example"), "@d.example\t\n@d.example\t\n");
}

TEST_F(DefaultActions, KeepTheTargetForAnEmptyOrUnknownAction) {
  panel.SetText("virtusertable", "@d.example\tas it was\n");
  auto domain = DomainRow("d.example", "error ");
  back_end.ResumeDomain(domain);
  EXPECT_EQ(panel.Text("virtusertable"), "@d.example\tas it was\n");
}

TEST_F(DefaultActions, ReadTheBouncingAliasAsErrorAndKeepTheRedirect) {
  EXPECT_EQ(Read("postfix_err_nouser"), (Lines{"error", "old.example"}));
}

TEST_F(DefaultActions, ReadTheDiscardingAliasAsIgnoreAndKeepTheRedirect) {
  EXPECT_EQ(Read("devnull"), (Lines{"ignore", "old.example"}));
}

TEST_F(DefaultActions, ReadADomainBehindAtAsARedirectionToIt) {
  EXPECT_EQ(Read("@Other.example"), (Lines{"redir_domain", "Other.example"}));
}

TEST_F(DefaultActions, ReadAnAddressAsARedirectionToIt) {
  EXPECT_EQ(Read("X@d.example"), (Lines{"redir_email", "X@d.example"}));
}

TEST_F(DefaultActions, KeepActionAndRedirectForATargetThatIsNeither) {
  for (const char* target : {"@not a domain", "@", "x@d.example y@d.example", "Devnull", "root"}) {
    rows.Query("DELETE FROM email_domain");
    EXPECT_EQ(Read(target), (Lines{"old", "old.example"})) << target;
  }
}
