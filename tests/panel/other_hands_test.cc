/// NAME
///   other_hands_test - tables that somebody else changes while the panel works on them
///
/// PURPOSE
///   Whoever edits a table by hand, and however, while an operation is under way: his edit stays,
///   the operation fails as a whole and says why, and works when it is run again.

#include <filesystem>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "host/fen_err.h"
#include "panel/conf/pending.h"
#include "panel/mail/mail_module.h"
#include "panel/mail/panel.h"
#include "tests/support/command.h"
#include "tests/support/hand.h"
#include "tests/support/test_panel.h"

namespace panel_test {
namespace {

namespace fs = std::filesystem;

using panel::mail::MailModule;
using panel::mail::Panel;
using test_support::Manner;

const char* const kByHand = "# by hand\n";

class OtherHands : public testing::TestWithParam<Manner> {
 protected:
  OtherHands() {
    Change([](MailModule& mail) { mail.CreateDomain("old.example", {}); });
  }

  /// Runs `work` as one operation; `meanwhile` happens when it has read its tables and has saved
  /// none.
  void Change(
      const std::function<void(MailModule&)>& work,
      const std::function<void()>& meanwhile = [] {}) const {
    Panel opened(panel.config());
    opened.Change([&] {
      MailModule mail;
      work(mail);
      meanwhile();
    });
  }

  static void CreateDomain(MailModule& mail) { mail.CreateDomain("new.example", {}); }

  std::string ErrorOf(const std::function<void()>& action) const {
    try {
      action();
    } catch (const fen_err::Error& error) {
      return error.what();
    }
    return "no error";
  }

  bool HasNewDomain() const {
    const Panel opened(panel.config());
    return MailModule().HasDomain("new.example");
  }

  test_support::TestPanel panel;
};

TEST_P(OtherHands, AreNotOverwrittenAndTheNextTryWorks) {
  for (const std::string table : {"virtusertable", "local-host-names"}) {
    SCOPED_TRACE(table);
    const std::string virtusertable = panel.Text("virtusertable");
    const std::string text = panel.Text(table);

    EXPECT_EQ(ErrorOf([&] {
                Change(&CreateDomain, [&] { AddLine(panel.Table(table), kByHand, GetParam()); });
              }),
              "changed: " + panel.Table(table).string());

    EXPECT_EQ(panel.Text(table), text + kByHand);
    EXPECT_EQ(panel.Text("virtusertable"),
              table == "virtusertable" ? virtusertable + kByHand : virtusertable);
    EXPECT_FALSE(HasNewDomain());
    EXPECT_TRUE(panel::conf::ListPendingWork().empty());
    EXPECT_FALSE(fs::exists(panel.Table("." + table + ".zebmail")));

    Change(&CreateDomain);
    EXPECT_TRUE(HasNewDomain());
    EXPECT_NE(panel.Text(table).find(kByHand), std::string::npos);
    EXPECT_EQ(panel.Lookup("virtusertable", "@new.example"), "postfix_err_nouser");
    Change([](MailModule& mail) { mail.DeleteDomain("new.example"); });
  }
}

TEST_P(OtherHands, AreSeenBehindASymbolicLink) {
  fs::create_directory(panel.folder().Path("real"));
  const fs::path real = panel.folder().Path("real/table");
  fs::rename(panel.Table("virtusertable"), real);
  fs::create_symlink(real, panel.Table("virtusertable"));

  EXPECT_EQ(ErrorOf([&] { Change(&CreateDomain, [&] { AddLine(real, kByHand, GetParam()); }); }),
            "changed: " + panel.Table("virtusertable").string());

  EXPECT_EQ(test_support::ReadText(real), "@old.example\tpostfix_err_nouser\n# by hand\n");
  Change(&CreateDomain);
  EXPECT_TRUE(fs::is_symlink(panel.Table("virtusertable")));
  EXPECT_EQ(test_support::ReadText(real),
            "@old.example\tpostfix_err_nouser\n# by hand\n@new.example\tpostfix_err_nouser\n");
}

TEST_P(OtherHands, ThatDoNotTouchTheTablesOfTheChangeAreNotInItsWay) {
  Change(&CreateDomain, [&] { AddLine(panel.Table("access"), kByHand, GetParam()); });

  EXPECT_TRUE(HasNewDomain());
  EXPECT_EQ(panel.Text("access"), kByHand);
}

INSTANTIATE_TEST_SUITE_P(Each, OtherHands, testing::ValuesIn(test_support::AllManners()),
                         [](const auto& manner) { return NameOf(manner.param); });

TEST_F(OtherHands, ThatRunPostmapMeanwhileAreNotInTheWay) {
  Change(&CreateDomain, [&] {
    const auto run = test_support::RunCommand(
        {"/usr/sbin/postmap", "-c", panel.postfix_dir(), panel.Table("virtusertable")});
    EXPECT_EQ(run.status, 0) << run.errors;
  });

  EXPECT_EQ(panel.Lookup("virtusertable", "@new.example"), "postfix_err_nouser");
}

TEST_F(OtherHands, ThatPutAnotherFileInPlaceOfALinkAreNotOverwritten) {
  const fs::path real = panel.folder().WriteText("real", panel.Text("virtusertable"));
  fs::remove(panel.Table("virtusertable"));
  fs::create_symlink(real, panel.Table("virtusertable"));

  EXPECT_EQ(ErrorOf([&] {
              Change(&CreateDomain, [&] {
                fs::remove(panel.Table("virtusertable"));
                panel.SetText("virtusertable", kByHand);
              });
            }),
            "changed: " + panel.Table("virtusertable").string());

  EXPECT_EQ(panel.Text("virtusertable"), kByHand);
}

}  // namespace
}  // namespace panel_test
