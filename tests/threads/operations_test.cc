/// NAME
///   operations_test - many operations at once in one process
///
/// PURPOSE
///   A panel's process serves its users from several threads. Each operation here is one that such
///   a thread would run: whole, through the mail module and the built plug-in, on real tables and a
///   real database. None may be lost or doubled, and the thread sanitizer has nothing to say.

#include <algorithm>
#include <atomic>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "host/fen_err.h"
#include "panel/mail/mail_module.h"
#include "panel/mail/panel.h"
#include "tests/support/lines.h"
#include "tests/support/tenant.h"
#include "tests/support/test_panel.h"

namespace {

using panel::mail::MailModule;
using panel::mail::Panel;
using test_support::SortedLines;

constexpr int kThreads = 8;
constexpr int kDomains = 3;
constexpr int kOperations = 12;
constexpr unsigned kSeed = 20240229;

std::string DomainOf(int thread, int number) {
  return "domain" + std::to_string(number) + ".thread" + std::to_string(thread) + ".example";
}

void InThreads(const std::function<void(int)>& work) {
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) threads.emplace_back(work, thread);
  for (std::thread& thread : threads) thread.join();
}

class Operations : public testing::Test {
 protected:
  void Change(const std::function<void(MailModule&)>& work) const {
    Panel opened(panel.config());
    opened.Change([&work] {
      MailModule mail;
      work(mail);
    });
  }

  test_support::TestPanel panel;
};

TEST_F(Operations, OfManyThreadsAreNeitherLostNorDoubled) {
  std::vector<std::string> expected_domains;
  std::vector<std::string> expected_lines;
  std::vector<std::string> expected_access;
  for (int thread = 0; thread < kThreads; ++thread) {
    for (int number = 0; number < kDomains; ++number) {
      const std::string name = DomainOf(thread, number);
      if (number == 1) continue;
      expected_domains.push_back(name);
      expected_lines.push_back("@" + name + "\t" +
                               (number == 2 ? "postfix_err_nouser" : "devnull"));
      if (number == 2) expected_access.push_back(name + "\t550 Account disabled");
    }
  }
  for (auto* list : {&expected_domains, &expected_lines, &expected_access}) {
    std::sort(list->begin(), list->end());
  }

  InThreads([this](int thread) {
    for (int number = 0; number < kDomains; ++number) {
      const std::string name = DomainOf(thread, number);
      Change([&name](MailModule& mail) { mail.CreateDomain(name, {"ignore", {}, {}, {}}); });
    }
    Change([thread](MailModule& mail) { mail.DeleteDomain(DomainOf(thread, 1)); });
    Change([thread](MailModule& mail) { mail.SuspendDomain(DomainOf(thread, 2)); });
  });

  EXPECT_EQ(SortedLines(panel.Text("virtusertable")), expected_lines);
  EXPECT_EQ(SortedLines(panel.Text("local-host-names")), expected_domains);
  EXPECT_EQ(SortedLines(panel.Text("access")), expected_access);
  std::vector<std::string> listed;
  const Panel opened(panel.config());
  for (const auto& domain : MailModule().ListDomains()) listed.push_back(domain.name);
  EXPECT_EQ(listed, expected_domains);
  for (const std::string& name : expected_domains) {
    EXPECT_NE(panel.Lookup("virtusertable", "@" + name), "") << name;
  }
}

TEST_F(Operations, OfEveryKindAtOnceLeaveEachTenantWithWhatIsHis) {
  std::vector<test_support::Tenant> tenants;
  for (int thread = 0; thread < kThreads; ++thread) tenants.emplace_back(thread, kSeed);

  InThreads([this, &tenants](int thread) {
    test_support::Tenant& tenant = tenants[static_cast<std::size_t>(thread)];
    for (int number = 0; number < kOperations; ++number) {
      const std::vector<std::string> words = tenant.Next();
      Change([&words](MailModule& mail) { test_support::Perform(mail, words); });
    }
  });

  std::set<std::string> expected;
  for (const test_support::Tenant& tenant : tenants) {
    for (const auto& [address, active] : tenant.Mailboxes()) {
      expected.insert(address + (active ? "" : ": suspended"));
    }
  }
  std::set<std::string> listed;
  const Panel opened(panel.config());
  for (const auto& mailbox : MailModule().ListMailboxes(std::nullopt)) {
    listed.insert(mailbox.address + (mailbox.active ? "" : ": suspended"));
  }
  EXPECT_FALSE(expected.empty());
  EXPECT_EQ(listed, expected);
}

TEST_F(Operations, OnOneDomainHaveOneThatSucceedsAndOthersThatAreToldWhy) {
  std::atomic<int> created = 0;
  std::atomic<int> refused = 0;

  InThreads([&](int) {
    try {
      Change([](MailModule& mail) { mail.CreateDomain("example.org", {}); });
      ++created;
    } catch (const fen_err::Error& error) {
      if (error.type() == "exists") ++refused;
    }
  });

  EXPECT_EQ(created, 1);
  EXPECT_EQ(refused, kThreads - 1);
  EXPECT_EQ(panel.Text("virtusertable"), "@example.org\tpostfix_err_nouser\n");
  EXPECT_EQ(panel.Text("local-host-names"), "example.org\n");
}

}  // namespace
