/// NAME
///   master_cf_test - bound domains in the master.cf that the package postfix brings
///
/// PURPOSE
///   The real file is full of what a record is not: services whose names are followed by blanks,
///   their continuation lines, and examples in comments, some of which look like services. All of
///   it must survive.

#include "postfix/master_cf.h"

#include <string>
#include <vector>

#include "host/fen_err.h"
#include "tests/email/error_of.h"
#include "tests/postfix/back_end.h"
#include "tests/support/command.h"

namespace {

using test_support::DomainPtr;
using test_support::DomainRow;
using test_support::ErrorOf;

using Lines = std::vector<std::string>;

const char* const kPackagedFile = "/usr/share/postfix/master.cf.dist";

std::string Service(const std::string& name, const std::string& tag, const std::string& address) {
  return name + "\tunix - - n - - smtp -o syslog_name=postfix-" + tag +
         " -o smtp_bind_address=" + address + "\n";
}

const std::string kShop = Service("smtp_shop_example", "192_0_2_10", "192.0.2.10");
const std::string kMovedShop = Service("smtp_shop_example", "192_0_2_11", "192.0.2.11");
const std::string kClearedShop = Service("smtp_shop_example", "", "");
const std::string kNews = Service("smtp_news_example", "192_0_2_10", "192.0.2.10");
const std::string kShopMap = "/@shop\\.example$/\tsmtp_shop_example\n";
const std::string kNewsMap = "/@news\\.example$/\tsmtp_news_example\n";

struct MasterCf : test_support::BackEndTest {
  MasterCf() { panel.SetText("master.cf", packaged); }

  void Create(const std::string& name, const std::string& ip) {
    DomainPtr domain = Row(name, ip);
    back_end.CreateDomain(domain);
  }

  void Update(const std::string& name, const std::string& ip) {
    DomainPtr domain = Row(name, ip);
    back_end.UpdateDomain(domain);
  }

  void Delete(const std::string& name) {
    DomainPtr domain = Row(name, "");
    back_end.DeleteDomain(domain);
  }

  /// The domain shop.example, bound by `service`, which stands behind the packaged text.
  void SetUpShop(const std::string& service) {
    Create("shop.example", "");
    panel.SetText("domainips", kShopMap);
    panel.SetText("master.cf", packaged + service);
  }

  /// The names of the services that the table finds in the file.
  Lines Records() const {
    const auto services = email::MasterCf::Get<email::IpRouters>(panel.Table("master.cf"), true);
    Lines names;
    for (services->First(); !services->Eof(); services->Next()) {
      names.push_back(services->transport.Str());
    }
    return names;
  }

  /// The address of shop.example as the tables tell it.
  std::string AddressOfShop() {
    rows.AddDomain("shop.example");
    back_end.CacheDomains();
    return rows.Query("SELECT ip FROM email_domain").at(0);
  }

  const std::string packaged = test_support::ReadText(kPackagedFile);

 private:
  static DomainPtr Row(const std::string& name, const std::string& ip) {
    DomainPtr domain = DomainRow(name);
    domain->ip = ip;
    return domain;
  }
};

}  // namespace

TEST_F(MasterCf, OfThePackageHoldsNoRecord) {
  EXPECT_EQ(Records(), Lines{});
  EXPECT_EQ(panel.Text("master.cf"), packaged);

  panel.SetText("master.cf", packaged + kShop);
  EXPECT_EQ(Records(), Lines{"smtp_shop_example"});
}

TEST_F(MasterCf, OfThePackageGetsTheServiceBehindAllThatItHolds) {
  Create("shop.example", "192.0.2.10");
  EXPECT_EQ(panel.Text("domainips"), kShopMap);
  EXPECT_EQ(panel.Text("master.cf"), packaged + kShop);
}

TEST_F(MasterCf, OfThePackageIsLeftAloneByADomainWithoutAddress) {
  Create("shop.example", "");
  Update("shop.example", "");
  Delete("shop.example");
  EXPECT_EQ(panel.Text("domainips"), "");
  EXPECT_EQ(panel.Text("master.cf"), packaged);
}

TEST_F(MasterCf, OfThePackageSurvivesBindingMovingClearingAndDeleting) {
  Create("shop.example", "192.0.2.10");
  Create("news.example", "192.0.2.10");
  EXPECT_EQ(panel.Text("master.cf"), packaged + kShop + kNews);

  Update("shop.example", "192.0.2.11");
  EXPECT_EQ(panel.Text("master.cf"), packaged + kMovedShop + kNews);

  Update("shop.example", "");
  EXPECT_EQ(panel.Text("master.cf"), packaged + kClearedShop + kNews);

  Update("shop.example", "192.0.2.10");
  EXPECT_EQ(panel.Text("master.cf"), packaged + kShop + kNews);
  EXPECT_EQ(panel.Text("domainips"), kShopMap + kNewsMap);

  Delete("shop.example");
  EXPECT_EQ(panel.Text("master.cf"), packaged + kNews);
  EXPECT_EQ(panel.Text("domainips"), kNewsMap);

  Delete("news.example");
  EXPECT_EQ(panel.Text("master.cf"), packaged);
  EXPECT_EQ(panel.Text("domainips"), "");
}

TEST_F(MasterCf, WithoutALineFeedAtItsEndGetsOneBeforeTheNewService) {
  const std::string cut = packaged + "# the end";
  panel.SetText("master.cf", cut);
  Create("shop.example", "192.0.2.10");
  EXPECT_EQ(panel.Text("master.cf"), cut + "\n" + kShop);
}

TEST_F(MasterCf, KeepsContinuationLinesUnderAServiceThatIsMoved) {
  const std::string under = "  -o smtp_helo_name=shop.example\n# slow peers\n\t-o x=192.0.2.9\n";
  SetUpShop(kShop + under);
  Update("shop.example", "192.0.2.11");
  EXPECT_EQ(panel.Text("master.cf"), packaged + kMovedShop + under);
}

TEST_F(MasterCf, LosesContinuationLinesUnderAServiceWithIt) {
  SetUpShop(kShop + "  -o smtp_helo_name=shop.example\n\t-o smtp_tls_security_level=may\n" + kNews);
  Delete("shop.example");
  EXPECT_EQ(panel.Text("master.cf"), packaged + kNews);
}

TEST_F(MasterCf, LosesContinuationLinesBehindACommentButNotTheComment) {
  SetUpShop(kShop + "# by hand\n\n  # indented\n  -o smtp_helo_name=shop.example\n" + kNews);
  Delete("shop.example");
  EXPECT_EQ(panel.Text("master.cf"), packaged + "# by hand\n\n  # indented\n" + kNews);
}

TEST_F(MasterCf, KeepsContinuationLinesOfTheServiceAboveADeletedOne) {
  panel.SetText("master.cf",
                "relay     unix  -       -       y       -       -       smtp\n"
                "        -o syslog_name=postfix/relay\n" +
                    kShop + "local     unix  -       n       n       -       -       local\n");
  panel.SetText("domainips", kShopMap);
  Delete("shop.example");
  EXPECT_EQ(panel.Text("master.cf"),
            "relay     unix  -       -       y       -       -       smtp\n"
            "        -o syslog_name=postfix/relay\n"
            "local     unix  -       n       n       -       -       local\n");
}

TEST_F(MasterCf, GetsANewServiceBehindTheContinuationLinesOfTheLastOne) {
  const std::string text = packaged +
                           "mine      unix  -       n       n       -       -       pipe\n"
                           "  flags=R user=mine argv=/bin/mine\n";
  panel.SetText("master.cf", text);
  Create("shop.example", "192.0.2.10");
  EXPECT_EQ(panel.Text("master.cf"), text + kShop);
}

TEST_F(MasterCf, KeepsACommentBehindAServiceThatIsMoved) {
  SetUpShop(
      "smtp_shop_example\tunix - - n - - smtp -o syslog_name=postfix-192_0_2_10"
      " -o smtp_bind_address=192.0.2.10  # leased\n");
  Update("shop.example", "192.0.2.11");
  EXPECT_EQ(panel.Text("master.cf"),
            packaged +
                "smtp_shop_example\tunix - - n - - smtp -o syslog_name=postfix-192_0_2_11"
                " -o smtp_bind_address=192.0.2.11  # leased\n");
}

TEST_F(MasterCf, TellsTheAddressBehindTheLastEqualsSignOfTheWholeLine) {
  SetUpShop(
      "smtp_shop_example\tunix - - n - - smtp -o smtp_bind_address=192.0.2.10"
      "\t-o y=192.0.2.9\n");
  EXPECT_EQ(AddressOfShop(), "192.0.2.9");
}

TEST_F(MasterCf, HasNamesWithSeveralUnderscoresAsOneName) {
  DomainPtr domain = DomainRow("a-1.b2.co.example");
  domain->ip = "192.0.2.10";
  back_end.CreateDomain(domain);
  Create("b2.co.example", "192.0.2.11");

  domain->ip = "192.0.2.12";
  back_end.UpdateDomain(domain);

  EXPECT_EQ(panel.Text("master.cf"),
            packaged + Service("smtp_a-1_b2_co_example", "192_0_2_12", "192.0.2.12") +
                Service("smtp_b2_co_example", "192_0_2_11", "192.0.2.11"));
}

TEST_F(MasterCf, DoesNotTakeAServiceBeforeABlankForABoundOne) {
  const std::string blank =
      "smtp_shop_example unix - - n - - smtp -o smtp_bind_address=192.0.2.10\n";
  SetUpShop(blank);

  const auto error = ErrorOf([this] { Update("shop.example", "192.0.2.11"); });

  EXPECT_EQ(error.type(), "missing");
  EXPECT_EQ(error.object(), panel.Table("master.cf").string());
  EXPECT_EQ(error.value(), "smtp_shop_example");
  EXPECT_EQ(panel.Text("master.cf"), packaged + blank);
}

TEST_F(MasterCf, IsReadOnBehindAServiceThatHasNoTab) {
  const std::string blank = "smtp_hand unix - - n - - smtp\nsmtp_\nsmtp\n";
  SetUpShop(blank + kShop);
  Update("shop.example", "192.0.2.11");
  EXPECT_EQ(panel.Text("master.cf"), packaged + blank + kMovedShop);
}

TEST_F(MasterCf, KeepsAServiceThatIsNamedSmtpBeforeATab) {
  const std::string tabs = "smtp\tinet\tn\t-\ty\t-\t-\tsmtpd\n\t-o x=y\n";
  panel.SetText("master.cf", tabs);
  Create("shop.example", "192.0.2.10");
  EXPECT_EQ(panel.Text("master.cf"), tabs + kShop);
  Update("shop.example", "192.0.2.11");
  EXPECT_EQ(panel.Text("master.cf"), tabs + kMovedShop);
  Delete("shop.example");
  EXPECT_EQ(panel.Text("master.cf"), tabs);
}

TEST_F(MasterCf, DoesNotTakeAServiceInACommentForABoundOne) {
  SetUpShop("#" + kShop + "# " + kShop + " " + kShop + kShop);
  Update("shop.example", "192.0.2.11");
  EXPECT_EQ(panel.Text("master.cf"),
            packaged + "#" + kShop + "# " + kShop + " " + kShop + kMovedShop);
}

TEST_F(MasterCf, StaysSavedWhenTheReloadFails) {
  const test_support::RecordingTool postfix(panel.folder(), "failing", "fatal: not running\n", 1);
  Create("shop.example", "");
  panel.SetPath("postfix-bin", postfix.path());

  const auto error = ErrorOf([this] { Update("shop.example", "192.0.2.10"); });

  EXPECT_EQ(error.type(), "email");
  EXPECT_EQ(error.object(), "postfix_reload");
  EXPECT_EQ(error.value(), "fatal: not running\n");
  EXPECT_EQ(postfix.Runs(), Lines{"reload"});
  EXPECT_EQ(panel.Text("domainips"), kShopMap);
  EXPECT_EQ(panel.Text("master.cf"), packaged + kShop);
}

TEST_F(MasterCf, IsAcceptedByPostfixWithServicesOfAllForms) {
  Create("shop.example", "192.0.2.10");
  Create("news.example", "2001:db8::5");
  Create("old.example", "192.0.2.10");
  Update("old.example", "");
  test_support::WriteText(panel.postfix_dir() / "master.cf", panel.Text("master.cf"));

  const auto run = test_support::RunCommand({"/usr/sbin/postconf", "-c", panel.postfix_dir(), "-M",
                                             "smtp_shop_example/unix", "smtp_news_example/unix",
                                             "smtp_old_example/unix"});

  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.errors, "");
  EXPECT_EQ(run.output,
            "smtp_shop_example unix - -       n       -       -       smtp"
            " -o syslog_name=postfix-192_0_2_10 -o smtp_bind_address=192.0.2.10\n"
            "smtp_news_example unix - -       n       -       -       smtp"
            " -o syslog_name=postfix-2001_db8__5 -o smtp_bind_address6=2001:db8::5\n"
            "smtp_old_example unix -  -       n       -       -       smtp"
            " -o syslog_name=postfix- -o smtp_bind_address=\n");
}
