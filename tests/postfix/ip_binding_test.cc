/// NAME
///   ip_binding_test - domains whose mail leaves from an address of their own

#include <filesystem>
#include <string>
#include <vector>

#include "host/fen_err.h"
#include "tests/email/error_of.h"
#include "tests/postfix/back_end.h"

namespace {

using test_support::DomainPtr;
using test_support::DomainRow;
using test_support::ErrorOf;
using test_support::RecordingTool;

using Lines = std::vector<std::string>;

const std::string kMapLine = "/@shop\\.example$/\tsmtp_shop_example\n";
const std::string kService =
    "smtp_shop_example\tunix - - n - - smtp -o syslog_name=postfix-192_0_2_10"
    " -o smtp_bind_address=192.0.2.10\n";
const std::string kMovedService =
    "smtp_shop_example\tunix - - n - - smtp -o syslog_name=postfix-192_0_2_11"
    " -o smtp_bind_address=192.0.2.11\n";
const std::string kIp6Service =
    "smtp_shop_example\tunix - - n - - smtp -o syslog_name=postfix-2001_db8__5"
    " -o smtp_bind_address6=2001:db8::5\n";

struct IpBinding : test_support::BackEndTest {
  /// The domain is in the tables, and so is what `map` and `service` say of its address.
  void SetUpFiles(const std::string& map, const std::string& service) {
    panel.SetText("virtusertable", "@shop.example\tpostfix_err_nouser\n");
    panel.SetText("local-host-names", "shop.example\n");
    panel.SetText("domainips", map);
    panel.SetText("master.cf", standard + service);
  }

  DomainPtr Shop(const std::string& ip) {
    DomainPtr domain = DomainRow("shop.example");
    domain->ip = ip;
    return domain;
  }

  void Create(const std::string& ip) {
    DomainPtr domain = Shop(ip);
    back_end.CreateDomain(domain);
  }

  void Update(const std::string& ip) {
    DomainPtr domain = Shop(ip);
    back_end.UpdateDomain(domain);
  }

  void Delete() {
    DomainPtr domain = Shop("");
    back_end.DeleteDomain(domain);
  }

  /// The address in the database after the tables have been read into it; "old" before.
  std::string Synchronised() {
    const DomainPtr row = rows.AddDomain("shop.example");
    row->ip = "old";
    row->Post();
    back_end.CacheDomains();
    return rows.Query("SELECT ip FROM email_domain").at(0);
  }

  /// What the map says at the last reload of `work`: the stand-in for the Postfix command copies
  /// it.
  template <class Work>
  std::string MapAtTheReload(Work work) {
    const std::string copy = panel.folder().Path("copy");
    panel.folder().WriteText(
        "reload", "#!/bin/sh\ncat " + panel.Table("domainips").string() + " > " + copy + "\n");
    test_support::SetMode(panel.folder().Path("reload"), 0755);
    panel.SetPath("postfix-bin", panel.folder().Path("reload"));
    work();
    return panel.folder().ReadText("copy");
  }

  /// What master.cf holds of itself.
  const std::string standard = panel.Text("master.cf");
};

}  // namespace

TEST_F(IpBinding, IsNotMadeForADomainWithoutAddress) {
  Create("");
  EXPECT_EQ(panel.Text("domainips"), "");
  EXPECT_EQ(panel.Text("master.cf"), standard);
}

TEST_F(IpBinding, GivesADomainAServiceOfItsOwnAndLeavesTheOthersAlone) {
  Create("192.0.2.10");
  EXPECT_EQ(panel.Text("domainips"), kMapLine);
  EXPECT_EQ(panel.Text("master.cf"), standard + kService);
}

TEST_F(IpBinding, OfAnIp6AddressUsesItsOption) {
  Create("2001:db8::5");
  EXPECT_EQ(panel.Text("master.cf"), standard + kIp6Service);
}

TEST_F(IpBinding, ReloadsPostfixWhenTheMapIsSavedAlready) {
  EXPECT_EQ(MapAtTheReload([this] { Create("192.0.2.10"); }), kMapLine);
}

TEST_F(IpBinding, EscapesWhatIsSpecialInAPatternAndCopiesTheRest) {
  auto domain = DomainRow("my-shop2.co.example");
  domain->ip = "192.0.2.10";
  back_end.CreateDomain(domain);
  EXPECT_EQ(panel.Text("domainips"), "/@my-shop2\\.co\\.example$/\tsmtp_my-shop2_co_example\n");
}

TEST_F(IpBinding, EscapesEverySpecialCharacterOnce) {
  auto domain = DomainRow("a()[]\\.?*|$^+{}b");
  domain->ip = "192.0.2.10";
  back_end.CreateDomain(domain);
  EXPECT_EQ(panel.Text("domainips"),
            "/@a\\(\\)\\[\\]\\\\\\.\\?\\*\\|\\$\\^\\+\\{\\}b$/\tsmtp_a()[]\\_?*|$^+{}b\n");
}

TEST_F(IpBinding, IsNotWrittenAgainForTheSameAddress) {
  SetUpFiles(kMapLine, kService);
  Update("192.0.2.10");
  EXPECT_EQ(panel.Text("domainips"), kMapLine);
  EXPECT_EQ(panel.Text("master.cf"), standard + kService);
  EXPECT_EQ(panel.postfix_command().Runs(), Lines{});
}

TEST_F(IpBinding, MovesToAnotherAddressInMasterCfAlone) {
  SetUpFiles("/@shop\\.example$/   smtp_shop_example # ours\n", kService);
  Update("192.0.2.11");
  EXPECT_EQ(panel.Text("domainips"), "/@shop\\.example$/   smtp_shop_example # ours\n");
  EXPECT_EQ(panel.Text("master.cf"), standard + kMovedService);
  EXPECT_EQ(panel.postfix_command().Runs(), Lines{"reload"});
}

TEST_F(IpBinding, IsMadeByAnUpdateAsByACreation) {
  SetUpFiles("", "");
  Update("192.0.2.10");
  EXPECT_EQ(panel.Text("domainips"), kMapLine);
  EXPECT_EQ(panel.Text("master.cf"), standard + kService);
}

TEST_F(IpBinding, MadeByAnUpdateSavesTheMapBeforeTheReload) {
  SetUpFiles("", "");
  EXPECT_EQ(MapAtTheReload([this] { Update("192.0.2.10"); }), kMapLine);
}

TEST_F(IpBinding, IsNotMadeByAnUpdateWithoutAddress) {
  SetUpFiles("", "");
  Update("");
  EXPECT_EQ(panel.Text("domainips"), "");
  EXPECT_EQ(panel.Text("master.cf"), standard);
}

TEST_F(IpBinding, ClearedLeavesAServiceWithoutAddress) {
  SetUpFiles(kMapLine, kService);
  Update("");
  EXPECT_EQ(panel.Text("domainips"), kMapLine);
  EXPECT_EQ(panel.Text("master.cf"),
            standard +
                "smtp_shop_example\tunix - - n - - smtp -o syslog_name=postfix-"
                " -o smtp_bind_address=\n");
}

TEST_F(IpBinding, OfAnIp6AddressIsNotCleared) {
  SetUpFiles(kMapLine, kIp6Service);
  Update("");
  EXPECT_EQ(panel.Text("master.cf"), standard + kIp6Service);
}

TEST_F(IpBinding, MovesFromAnIp6AddressToAnother) {
  SetUpFiles(kMapLine, kIp6Service);
  Update("192.0.2.10");
  EXPECT_EQ(panel.Text("master.cf"), standard + kService);
}

TEST_F(IpBinding, OfAnIp6AddressIsWrittenAgainForTheSameAddress) {
  SetUpFiles(kMapLine,
             "smtp_shop_example\tunix - - y - - smtp -o smtp_bind_address6=2001:db8::5\n");
  Update("2001:db8::5");
  EXPECT_EQ(panel.Text("domainips"), kMapLine);
  EXPECT_EQ(panel.Text("master.cf"), standard + kIp6Service);
  EXPECT_EQ(panel.postfix_command().Runs(), Lines{"reload"});
}

TEST_F(IpBinding, CanBeMadeAgainOnceItWasCleared) {
  SetUpFiles(kMapLine, kService);
  Update("");
  Update("192.0.2.11");
  EXPECT_EQ(panel.Text("domainips"), kMapLine);
  EXPECT_EQ(panel.Text("master.cf"), standard + kMovedService);
}

TEST_F(IpBinding, IsPossible) {
  EXPECT_TRUE(back_end.CanBindToIp());
}

TEST_F(IpBinding, CannotMoveAServiceThatMasterCfLacks) {
  SetUpFiles(kMapLine, "");
  const auto error = ErrorOf([this] { Update("192.0.2.11"); });
  EXPECT_EQ(error.type(), "missing");
  EXPECT_EQ(error.object(), panel.Table("master.cf").string());
  EXPECT_EQ(error.value(), "smtp_shop_example");
  EXPECT_EQ(panel.Text("domainips"), kMapLine);
}

TEST_F(IpBinding, IsLeftAloneWhenTheDomainItselfCannotBeUpdated) {
  SetUpFiles(kMapLine, kService);
  panel.SetText("virtusertable", "");
  EXPECT_EQ(ErrorOf([this] { Update("192.0.2.11"); }).type(), "missing");
  EXPECT_EQ(panel.Text("master.cf"), standard + kService);
}

TEST_F(IpBinding, IsLeftAloneWhenTheDomainItselfCannotBeCreatedOrDeleted) {
  SetUpFiles(kMapLine, kService);
  const RecordingTool postmap(panel.folder(), "failing", "no space\n", 1);
  panel.SetPath("postfix-postmap", postmap.path());
  DomainPtr news = DomainRow("news.example");
  news->ip = "192.0.2.10";

  EXPECT_EQ(ErrorOf([this, &news] { back_end.CreateDomain(news); }).object(), "postmap");
  EXPECT_EQ(ErrorOf([this] { Delete(); }).object(), "postmap");

  EXPECT_EQ(panel.Text("domainips"), kMapLine);
  EXPECT_EQ(panel.Text("master.cf"), standard + kService);
}

TEST_F(IpBinding, GoesWithTheDomainAndNoOther) {
  const std::string other_map = "/@other\\.example$/\tsmtp_other_example\n";
  const std::string other_service =
      "smtp_other_example\tunix - - n - - smtp -o syslog_name=postfix-192_0_2_10"
      " -o smtp_bind_address=192.0.2.10\n";
  SetUpFiles(kMapLine + other_map, other_service + kService);
  Delete();
  EXPECT_EQ(panel.Text("domainips"), other_map);
  EXPECT_EQ(panel.Text("master.cf"), standard + other_service);
}

TEST_F(IpBinding, GoesEvenWhenItsServiceIsGoneAlready) {
  SetUpFiles(kMapLine, "");
  Delete();
  EXPECT_EQ(panel.Text("domainips"), "");
  EXPECT_EQ(panel.Text("master.cf"), standard);
}

TEST_F(IpBinding, RunsNoToolWhenTheMapAloneIsSaved) {
  SetUpFiles(kMapLine, "");
  panel.SetText("virtusertable", "");
  panel.SetText("local-host-names", "");

  Delete();

  EXPECT_EQ(panel.Text("domainips"), "");
  EXPECT_EQ(panel.postfix_command().Runs(), Lines{});
  EXPECT_FALSE(std::filesystem::exists(panel.Table("domainips.db")));
}

TEST_F(IpBinding, LosesItsServiceBeforeItsMapLine) {
  SetUpFiles(kMapLine, kService);
  const RecordingTool postfix(panel.folder(), "failing", "not running\n", 1);
  panel.SetText("local-host-names", "");
  panel.SetPath("postfix-bin", postfix.path());
  EXPECT_EQ(ErrorOf([this] { Delete(); }).object(), "postfix_reload");
  EXPECT_EQ(panel.Text("master.cf"), standard);
  EXPECT_EQ(panel.Text("domainips"), kMapLine);
}

TEST_F(IpBinding, IsReadBackByASynchronisation) {
  SetUpFiles(kMapLine, kService);
  EXPECT_EQ(Synchronised(), "192.0.2.10");
}

TEST_F(IpBinding, OfAnIp6AddressIsReadBackAsNone) {
  SetUpFiles(kMapLine, kIp6Service);
  EXPECT_EQ(Synchronised(), "");
}

TEST_F(IpBinding, ThatIsNotInTheMapLeavesTheRowAsItIs) {
  SetUpFiles("", kService);
  EXPECT_EQ(Synchronised(), "old");
}

TEST_F(IpBinding, ThatMasterCfLacksStopsASynchronisation) {
  SetUpFiles(kMapLine, "");
  EXPECT_EQ(ErrorOf([this] { Synchronised(); }).value(), "smtp_shop_example");
}

TEST_F(IpBinding, OfAHostileAddressIsRefused) {
  for (const char* address : {"192.0.2.10\nsmtp inet n - n - - smtpd", "192.0.2.10 # x"}) {
    SetUpFiles(kMapLine, kService);
    EXPECT_EQ(ErrorOf([&] { Update(address); }).type(), "value") << address;
    EXPECT_EQ(panel.Text("master.cf"), standard + kService);
  }
}
