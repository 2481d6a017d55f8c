/// NAME
///   module_loading_test - loading plug-ins and setting up their modules

#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "host/apistat.h"
#include "host/fen_err.h"
#include "host/zeb_api.h"
#include "panel/module/interfaces.h"
#include "panel/module/loader.h"
#include "tests/support/temp_folder.h"

namespace {

using test_support::TempFolder;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::StartsWith;

/// What happened to the modules of a test, in order.
std::vector<std::string>& Events() {
  static std::vector<std::string> events;
  return events;
}

template <int number>
class SampleModule : public zeb_api::Module {
 public:
  SampleModule() : Module("sample") { Events().push_back("made " + std::to_string(number)); }
  ~SampleModule() override { Events().push_back("gone " + std::to_string(number)); }
};

/// Fails in its constructor for as long as it is told to.
class FailingModule : public zeb_api::Module {
 public:
  FailingModule() : Module("failing") {
    Events().push_back("tried");
    if (fails) throw fen_err::Error("email", "postalias", "its output");
  }

  static inline bool fails = true;
};

zeb_api::Module* MakeNothing() {
  return nullptr;
}

std::string MessageOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const fen_err::Error& error) {
    return error.what();
  }
  return "no error";
}

/// A module folder of the test's own.
class ModuleFolder : public testing::Test {
 protected:
  ModuleFolder() { test_support::SetMode(folder_.path(), 0755); }

  void AddPlugin(const std::string& name) {
    std::filesystem::copy_file(ZEBMAIL_PLUGIN, folder_.Path(name));
  }

  std::string Complaint() {
    return MessageOf([this] { panel::LoadModules(folder_.path()); });
  }

  TempFolder folder_;
};

TEST_F(ModuleFolder, MayBeEmpty) {
  EXPECT_NO_THROW(panel::LoadModules(folder_.path()));
}

TEST_F(ModuleFolder, HoldsPlugins) {
  AddPlugin("email_postfix.so");
  folder_.WriteText("README", "no plug-in");
  folder_.WriteText("old.so.bak", "no plug-in");

  EXPECT_EQ(Complaint(), "no error");
  // The name is taken now, so the plug-in has registered its factory.
  EXPECT_EQ(MessageOf([] {
              zeb_api::BaseRegisterModule().Register(
                  "email_interface", &zeb_api::RegisterModule<SampleModule<1>>::Constructor);
            }),
            "module: email_interface: registered twice; two plug-ins cannot share this name");
}

TEST_F(ModuleFolder, CanBeLoadedTwice) {
  AddPlugin("email_postfix.so");

  EXPECT_EQ(Complaint(), "no error");
  EXPECT_EQ(Complaint(), "no error");
}

TEST_F(ModuleFolder, CannotHoldAPluginTwice) {
  AddPlugin("a.so");
  AddPlugin("b.so");

  EXPECT_EQ(Complaint(),
            "module: email_interface: registered twice; two plug-ins cannot share this name");
}

TEST_F(ModuleFolder, MustBeThere) {
  const std::filesystem::path missing = folder_.Path("missing");

  EXPECT_EQ(MessageOf([&] { panel::LoadModules(missing); }),
            "module: " + missing.string() +
                ": No such file or directory: set \"module_dir\" to the folder of the plug-ins");
  EXPECT_EQ(MessageOf([&] { panel::LoadModules(folder_.WriteText("file", "")); }),
            "module: " + folder_.Path("file").string() +
                ": Not a directory: set \"module_dir\" to the folder of the plug-ins");
}

TEST_F(ModuleFolder, CannotHoldWhatDoesNotLoad) {
  folder_.WriteText("b.so", "no plug-in either");
  const std::string object = folder_.WriteText("a.so", "no plug-in");

  EXPECT_EQ(Complaint(), "module: " + object + ": " + object + ": file too short");
}

TEST_F(ModuleFolder, IsLoadedInTheOrderOfNames) {
  const std::string object = folder_.WriteText("B.so", "no plug-in");
  folder_.WriteText("a.so", "no plug-in either");
  folder_.WriteText("c.so", "nor this");

  EXPECT_THAT(Complaint(), StartsWith("module: " + object + ": "));
}

TEST_F(ModuleFolder, CannotHoldADanglingLink) {
  std::filesystem::create_symlink("/nowhere/plugin.so", folder_.Path("a.so"));

  EXPECT_EQ(Complaint(),
            "module: " + folder_.Path("a.so").string() + ": No such file or directory");
}

TEST_F(ModuleFolder, MustNotBeWritableByOthers) {
  AddPlugin("a.so");
  for (const mode_t mode : {0775U, 0757U}) {
    test_support::SetMode(folder_.path(), mode);

    EXPECT_EQ(Complaint(), "module: " + folder_.path().string() +
                               ": is not loaded: " + folder_.path().string() +
                               " can be written by others than its owner: run `chmod go-w` on it");
  }
}

TEST_F(ModuleFolder, MustNotHoldAPluginWritableByOthers) {
  AddPlugin("a.so");
  for (const mode_t mode : {0664U, 0646U}) {
    test_support::SetMode(folder_.Path("a.so"), mode);

    EXPECT_EQ(Complaint(), "module: " + folder_.Path("a.so").string() +
                               ": is not loaded: " + folder_.Path("a.so").string() +
                               " can be written by others than its owner: run `chmod go-w` on it");
  }
}

TEST_F(ModuleFolder, MustNotHoldAPluginOfSomebodyElse) {
  AddPlugin("a.so");
  if (geteuid() != 0) GTEST_SKIP() << "only root can give a file away";
  test_support::SetOwner(folder_.Path("a.so"), {65534, 0});

  EXPECT_EQ(Complaint(), "module: " + folder_.Path("a.so").string() +
                             ": is not loaded: " + folder_.Path("a.so").string() +
                             " belongs to neither root nor the user of this process: look who has "
                             "put it there, and remove it or run `chown -h root` on it");
}

TEST_F(ModuleFolder, MustNotBelongToSomebodyElse) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can give a folder away";
  test_support::SetOwner(folder_.path(), {65534, 0});

  EXPECT_EQ(Complaint(), "module: " + folder_.path().string() +
                             ": is not loaded: " + folder_.path().string() +
                             " belongs to neither root nor the user of this process: look who has "
                             "put it there, and remove it or run `chown -h root` on it");
}

TEST_F(ModuleFolder, IsFollowedByEachFactoryOnce) {
  const zeb_api::RegisterModule<SampleModule<1>> first("sample_1");
  const zeb_api::RegisterModule<SampleModule<2>> second("sample_2");
  panel::LoadModules(folder_.path());
  panel::LoadModules(folder_.path());

  EXPECT_THAT(Events(), ElementsAre("made 1", "made 2"));
}

TEST_F(ModuleFolder, IsFollowedByFactoriesThatCameLater) {
  const zeb_api::RegisterModule<SampleModule<1>> first("sample_1");
  panel::LoadModules(folder_.path());
  const zeb_api::RegisterModule<SampleModule<2>> second("sample_2");
  panel::LoadModules(folder_.path());

  EXPECT_THAT(Events(), ElementsAre("made 1", "made 2"));
}

TEST_F(ModuleFolder, PassesOnWhatAFactoryThrows) {
  const zeb_api::RegisterModule<SampleModule<1>> first("sample_1");
  const zeb_api::RegisterModule<FailingModule> failing("failing");
  const zeb_api::RegisterModule<SampleModule<2>> second("sample_2");

  EXPECT_EQ(Complaint(), "email: postalias: its output");
  EXPECT_THAT(Events(), ElementsAre("made 1", "tried"));
}

TEST_F(ModuleFolder, GoesOnWhereAFactoryFailed) {
  const zeb_api::RegisterModule<SampleModule<1>> first("sample_1");
  const zeb_api::RegisterModule<FailingModule> failing("failing");
  const zeb_api::RegisterModule<SampleModule<2>> second("sample_2");
  EXPECT_EQ(Complaint(), "email: postalias: its output");
  FailingModule::fails = false;

  EXPECT_EQ(Complaint(), "no error");
  EXPECT_THAT(Events(), ElementsAre("made 1", "tried", "tried", "made 2"));
}

TEST_F(ModuleFolder, BuildsNothingWhenAPluginDoesNotLoad) {
  const zeb_api::RegisterModule<SampleModule<1>> first("sample_1");
  folder_.WriteText("a.so", "no plug-in");

  EXPECT_NE(Complaint(), "no error");
  EXPECT_THAT(Events(), IsEmpty());
}

TEST_F(ModuleFolder, MayBeLoadedByThreads) {
  const zeb_api::RegisterModule<SampleModule<1>> first("sample_1");
  std::vector<std::thread> threads;
  for (int number = 0; number < 4; ++number) {
    threads.emplace_back([this] { panel::LoadModules(folder_.path()); });
  }
  for (std::thread& thread : threads) thread.join();

  EXPECT_THAT(Events(), ElementsAre("made 1"));
}

TEST_F(ModuleFolder, RefusesAFactoryThatMakesNothing) {
  zeb_api::BaseRegisterModule().Register("nothing", &MakeNothing);

  EXPECT_EQ(Complaint(), "module: nothing: its factory returned no module");
}

TEST(Registration, NeedsANameOfItsOwnAndAFactory) {
  const zeb_api::RegisterModule<SampleModule<1>> first("sample");

  EXPECT_EQ(MessageOf([] { zeb_api::RegisterModule<SampleModule<2>>("sample"); }),
            "module: sample: registered twice; two plug-ins cannot share this name");
  EXPECT_EQ(MessageOf([] { zeb_api::BaseRegisterModule().Register("other", nullptr); }),
            "module: other: registered without a factory");
}

TEST(Module, CopiesItsName) {
  std::string name = "email_filter";
  class Named : public zeb_api::Module {
   public:
    using Module::Module;
  };
  const Named module(name.c_str());
  name = "changed";

  EXPECT_EQ(module.name(), "email_filter");
}

TEST(ModuleInterfaces, AreKeptOnceEach) {
  EXPECT_THAT(panel::ModuleInterfaces(), IsEmpty());
  apistat::ModuleInterface("mail", "postfix");
  apistat::ModuleInterface("web", "sample");
  apistat::ModuleInterface("mail", "postfix");

  EXPECT_THAT(panel::ModuleInterfaces(),
              ElementsAre(Pair("mail", "postfix"), Pair("web", "sample")));
}

}  // namespace
