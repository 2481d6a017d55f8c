/// NAME
///   start_up_test - how the plug-in enters the panel

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "host/fen_cf.h"
#include "host/fen_err.h"
#include "panel/conf/operation.h"
#include "panel/module/interfaces.h"
#include "tests/email/error_of.h"
#include "tests/postfix/back_end.h"

namespace {

using test_support::ErrorOf;
using test_support::kDeliveryAliases;
using test_support::LoadBackEnd;
using test_support::RecordingTool;
using test_support::TestPanel;

using Reports = std::vector<std::pair<std::string, std::string>>;

const char* const kDefaulted[] = {
    "postfix-bin ",    "postfix-virtusertable", "postfix-localhostnames", "postfix-accessdb",
    "postfix-aliases", "postfix-postmap",       "postfix-postalias"};

/// The panel's configuration without any path of the plug-in's, so that only defaults answer.
void UseConfigWithoutPaths(const TestPanel& panel) {
  panel::Config config = panel.config();
  config.path.clear();
  panel::UseConfig(config);
}

/// Expects that the plug-in has taken no part in the panel.
void ExpectNoBackEnd(const TestPanel& panel) {
  EXPECT_EQ(ErrorOf([] { panel::mail::BackEnd(); }).type(), "config");
  EXPECT_EQ(panel::ModuleInterfaces(), Reports{});
  UseConfigWithoutPaths(panel);
  for (const char* name : kDefaulted) EXPECT_EQ(fen_cf::GetPath(name), "") << name;
  EXPECT_EQ(panel.Text("aliases"), "");
}

}  // namespace

TEST(StartUp, RegistersTheBackEndForTheMtaPostfix) {
  TestPanel panel;
  LoadBackEnd(panel);
  EXPECT_EQ(panel::ModuleInterfaces(), (Reports{{"mail", "postfix"}}));
}

TEST(StartUp, RegistersNoBackEndWithoutAnMta) {
  TestPanel panel;
  panel.SetParam("MTA", "");
  panel::LoadModules(panel.config().module_dir);
  ExpectNoBackEnd(panel);
}

TEST(StartUp, RegistersNoBackEndForAnMtaInAnotherCase) {
  TestPanel panel;
  panel.SetParam("MTA", "Postfix");
  panel::LoadModules(panel.config().module_dir);
  ExpectNoBackEnd(panel);
}

TEST(StartUp, RegistersNoBackEndForAnMtaWithABlankBehind) {
  TestPanel panel;
  panel.SetParam("MTA", "postfix ");
  panel::LoadModules(panel.config().module_dir);
  ExpectNoBackEnd(panel);
}

TEST(StartUp, SetsTheDefaultsOfSevenPaths) {
  TestPanel panel;
  UseConfigWithoutPaths(panel);
  // The system's own aliases are opened then: nothing of it may be saved.
  const panel::conf::Operation rehearsal(panel::conf::Operation::Mode::kRehearsal);
  panel::LoadModules(panel.config().module_dir);
  EXPECT_EQ(fen_cf::GetPath("postfix-bin "), "/usr/sbin/postfix");
  EXPECT_EQ(fen_cf::GetPath("postfix-virtusertable"), "/etc/mail/virtusertable");
  EXPECT_EQ(fen_cf::GetPath("postfix-localhostnames"), "/etc/mail/local-host-names");
  EXPECT_EQ(fen_cf::GetPath("postfix-accessdb"), "/etc/mail/access");
  EXPECT_EQ(fen_cf::GetPath("postfix-aliases"), "/etc/mail/aliases");
  EXPECT_EQ(fen_cf::GetPath("postfix-postmap"), "/usr/sbin/postmap");
  EXPECT_EQ(fen_cf::GetPath("postfix-postalias"), "/usr/sbin/postalias");
}

TEST(StartUp, SetsNoDefaultForTheReloadNorForTheFilesOfOutgoingAddresses) {
  TestPanel panel;
  UseConfigWithoutPaths(panel);
  const panel::conf::Operation rehearsal(panel::conf::Operation::Mode::kRehearsal);
  panel::LoadModules(panel.config().module_dir);
  EXPECT_EQ(fen_cf::GetPath("postfix-bin"), "");
  EXPECT_EQ(fen_cf::GetPath("postfix-domainips"), "");
  EXPECT_EQ(fen_cf::GetPath("postfix-master"), "");
}

TEST(StartUp, PutsTheDeliveryAliasesIntoEmptyAliases) {
  TestPanel panel;
  LoadBackEnd(panel);
  EXPECT_EQ(panel.Text("aliases"), kDeliveryAliases);
  EXPECT_EQ(panel.Lookup("aliases", "postfix_err_nouser"), "\"| exit 67\"");
  EXPECT_EQ(panel.Lookup("aliases", "devnull"), "\"/dev/null\"");
}

TEST(StartUp, PutsTheDeliveryAliasesIntoMissingAliases) {
  TestPanel panel;
  std::filesystem::remove(panel.Table("aliases"));
  LoadBackEnd(panel);
  EXPECT_EQ(panel.Text("aliases"), kDeliveryAliases);
}

TEST(StartUp, KeepsADeliveryAliasThatIsThereWhateverItsValue) {
  TestPanel panel;
  panel.SetText("aliases", "# ours\ndevnull: root\n");
  LoadBackEnd(panel);
  EXPECT_EQ(panel.Text("aliases"), "# ours\ndevnull: root\npostfix_err_nouser:\t\"| exit 67\"\n");
}

TEST(StartUp, RunsPostaliasOnceAndNotAtAllWhenNothingIsMissing) {
  TestPanel panel;
  const RecordingTool postalias(panel.folder(), "postalias");
  panel.SetPath("postfix-postalias", postalias.path());
  panel.SetText("aliases", kDeliveryAliases);
  LoadBackEnd(panel);
  EXPECT_EQ(postalias.Runs(), std::vector<std::string>{});
}

TEST(StartUp, FailsWithTheWordsOfAToolThatFailsAndRegistersNothing) {
  TestPanel panel;
  const RecordingTool postalias(panel.folder(), "postalias", "fatal: no space\n", 1);
  panel.SetPath("postfix-postalias", postalias.path());
  const auto error = ErrorOf([&] { LoadBackEnd(panel); });
  EXPECT_STREQ(error.what(), "email: postalias: fatal: no space\n");
  EXPECT_EQ(ErrorOf([] { panel::mail::BackEnd(); }).type(), "config");
  EXPECT_EQ(panel::ModuleInterfaces(), Reports{});
  EXPECT_EQ(panel.Text("aliases"), kDeliveryAliases);
}

// Under AddressSanitizer this test tells as well that the half-built module and back-end are gone.
TEST(StartUp, CanBeRepeatedAfterAFailure) {
  TestPanel panel;
  std::filesystem::create_directory(panel.Table("folder"));
  const std::string aliases = panel.config().path.at("postfix-aliases");
  panel.SetPath("postfix-aliases", panel.Table("folder"));
  const auto error = ErrorOf([&] { LoadBackEnd(panel); });
  EXPECT_EQ(error.type(), "file");
  EXPECT_EQ(error.object(), panel.Table("folder").string());
  panel.SetPath("postfix-aliases", aliases);
  LoadBackEnd(panel);
  EXPECT_EQ(panel.Text("aliases"), kDeliveryAliases);
  EXPECT_EQ(panel::ModuleInterfaces(), (Reports{{"mail", "postfix"}}));
}
