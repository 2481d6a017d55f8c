/// NAME
///   random_domain_operations_test - hand-made tables survive any row of domain operations
///
/// PURPOSE
///   Runs random operations on domains, through the built plug-in, on tables full of what people
///   write into them, and compares every byte with a plain model after every step.

#include <array>
#include <random>
#include <string>

#include "host/fen_err.h"
#include "tests/email/error_of.h"
#include "tests/postfix/back_end.h"
#include "tests/postfix/table_model.h"

namespace {

using test_support::DomainPtr;
using test_support::DomainRow;
using test_support::ErrorOf;
using test_support::TableModel;

constexpr unsigned kSeed = 20240229;
constexpr int kSteps = 1000;

const std::string kHandMadeLines =
    "# virtual users, by hand\n"
    "\n"
    "   \t \n"
    "@one.example\tdevnull\n"
    "info@one.example\tinfo@one.example info+one.example\n"
    "@two.example     @one.example      # redirected\n"
    "  still@two.example\n"
    "# between the lines of one record\n"
    "\tand@two.example\n"
    "@three.example\t\tx@three.example\r\n"
    "\r\n"
    "# a comment in the other world\r\n"
    "sales@three.example   sales@one.example,x@y.example\r\n"
    "no kind of line\n"
    "alsonone:\tvalue\n"
    "@ \n"
    "@four.example\n"
    "@five.example # no target\n"
    "@six.example\tpostfix_err_nouser#tight\n"
    "@one.example\tsecond line of the same domain\n"
    " \tindented@one.example\tnothing\n"
    "@seven.example.org\tdevnull\n"
    "@@odd\tx\n"
    "caf\xc3\xa9@one.example\t\xff\xfe\n"
    "@eight.example \t devnull \t ";

const std::string kHandMadeAccess =
    "# access\r\n"
    "two.example    REJECT   # for now\r\n"
    "connect:192.0.2.1 REJECT\n"
    "one.example\t550 Account disabled\n"
    "\tcontinued\n"
    "one.example OK\n"
    "\n"
    "spam@one.example DISCARD";

const std::array kNames = {"one.example",   "two.example",          "three.example",
                           "four.example",  "five.example",         "six.example",
                           "seven.example", "eight.example",        "new-1.example",
                           "new-2.example", "xn--mller-kva.example"};

/// The target of a default action; none for an action that is not known.
struct Action {
  const char* name;
  const char* redirect;
  const char* target;
};

constexpr std::array kActions = {
    Action{"error", "", "postfix_err_nouser"},
    Action{"ignore", "x@one.example", "devnull"},
    Action{"redir_email", "x@one.example", "x@one.example"},
    Action{"redir_domain", "one.example", "@one.example"},
};

class RandomDomainOperations : public test_support::BackEndTest {
 protected:
  RandomDomainOperations() {
    panel.SetText("virtusertable", kHandMadeLines);
    panel.SetText("access", kHandMadeAccess);
    panel.SetPath("postfix-postmap", "/usr/bin/true");
    panel.SetPath("postfix-bin", "/usr/bin/true");
  }

  /// One random operation, on the tables and on the models; returns what it was.
  std::string Step() {
    const std::string name = Pick(kNames);
    const Action action = Pick(kActions);
    DomainPtr domain = DomainRow(name, action.name);
    domain->redirect = action.redirect;
    switch (random_() % 6) {
      case 0:
        Create(domain, action);
        return "create " + name + " " + action.name;
      case 1:
        Delete(domain);
        return "delete " + name;
      case 2:
        Suspend(domain, &email::MtaInterface::SuspendDomain);
        return "suspend " + name;
      case 3:
        Resume(domain, action, &email::MtaInterface::ResumeDomain);
        return "resume " + name + " " + action.name;
      case 4:
        domain->active = false;
        Suspend(domain, &email::MtaInterface::UpdateDomain);
        return "update " + name + " to inactive";
      default:
        Resume(domain, action, &email::MtaInterface::UpdateDomain);
        return "update " + name + " to " + action.name;
    }
  }

  TableModel lines_{kHandMadeLines, "@"};
  TableModel access_{kHandMadeAccess, ""};
  TableModel hosts_{"", ""};

 private:
  using Operation = void (email::MtaInterface::*)(DomainPtr&);

  template <class Values>
  typename Values::value_type Pick(const Values& values) {
    return values[random_() % values.size()];
  }

  void Create(DomainPtr& domain, const Action& action) {
    const std::string name = domain->name.Str();
    back_end.CreateDomain(domain);
    lines_.Append("@" + name + "\t" + action.target + "\n");
    if (!hosts_.Has(name)) hosts_.Append(name + "\n");
  }

  void Delete(DomainPtr& domain) {
    const std::string name = domain->name.Str();
    back_end.DeleteDomain(domain);
    lines_.Delete(name);
    hosts_.Delete(name);
    access_.Delete(name);
  }

  void Suspend(DomainPtr& domain, Operation operation) {
    const std::string name = domain->name.Str();
    if (!lines_.Has(name)) {
      EXPECT_EQ(ErrorOf([&] { (back_end.*operation)(domain); }).type(), "missing");
      return;
    }
    (back_end.*operation)(domain);
    lines_.Set(name, "postfix_err_nouser");
    if (!access_.Has(name)) access_.Append(name + "\t\n");
    access_.Set(name, "550 Account disabled");
  }

  void Resume(DomainPtr& domain, const Action& action, Operation operation) {
    const std::string name = domain->name.Str();
    if (!lines_.Has(name)) {
      EXPECT_EQ(ErrorOf([&] { (back_end.*operation)(domain); }).type(), "missing");
      access_.Delete(name);
      return;
    }
    (back_end.*operation)(domain);
    access_.Delete(name);
    lines_.Set(name, action.target);
    access_.Delete(name);
  }

  std::mt19937 random_{kSeed};
};

}  // namespace

TEST_F(RandomDomainOperations, LeaveEveryForeignByteInPlace) {
  for (int step = 1; step <= kSteps; ++step) {
    const std::string operation = Step();
    SCOPED_TRACE("seed " + std::to_string(kSeed) + ", step " + std::to_string(step) + ": " +
                 operation);
    ASSERT_EQ(panel.Text("virtusertable"), lines_.Text());
    ASSERT_EQ(panel.Text("access"), access_.Text());
    ASSERT_EQ(panel.Text("local-host-names"), hosts_.Text());
  }
}
