/// NAME
///   update_test - which way a map is brought in step with its text

#include <filesystem>
#include <fstream>
#include <future>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/maps/map_place.h"
#include "tests/support/small_disk.h"
#include "zebmail/maps/map_file.h"

namespace maps_test {
namespace {

namespace fs = std::filesystem;
using test_support::ModeOf;
using testing::HasSubstr;

constexpr uid_t kNobody = 65534;

const char* const kText =
    "# people\n"
    "info@a.example\tinfo\n"
    "boss@a.example\tboss, info\n"
    "\n"
    "sales@b.example\tinfo\n";

/// A map that is in step with kText and known.
class KnownMap : public testing::Test {
 protected:
  KnownMap() { Build(place_, kText); }

  static void Build(const MapPlace& place, const std::string& text) {
    const CommandRun run = place.RunOn(text);
    if (run.status != 0) throw std::runtime_error(run.errors);
    place.TakeWays();
  }

  /// Brings the map in step with the text and expects it to be right, and made this way.
  static void ExpectWay(const MapPlace& place, const std::string& ways) {
    const CommandRun run = place.Run({"--explain"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(place.TakeWays(), ways) << run.errors;
    EXPECT_EQ(place.Entries(), place.EntriesOfRebuilt());
  }

  void ExpectWayOf(const std::string& text, const std::string& ways) const {
    place_.SetText(text);
    ExpectWay(place_, ways);
  }

  MapPlace place_;
};

struct stat StatusOf(const fs::path& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) throw std::runtime_error("no " + path.string());
  return status;
}

std::string With(const std::string& line) {
  return kText + line + "\n";
}

TEST(Maps, AreBuiltWhenThereIsNone) {
  const MapPlace place;

  const CommandRun run = place.RunOn(kText);

  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output + run.errors, "");
  EXPECT_EQ(place.TakeWays(), "build");
  EXPECT_EQ(place.Entries(),
            "boss@a.example\tboss, info\ninfo@a.example\tinfo\nsales@b.example\tinfo\n");
  EXPECT_FALSE(fs::exists(place.Path("mail/.table.zebmail-map")));
}

TEST_F(KnownMap, TakesEntryThatCame) {
  ExpectWayOf(With("new@b.example\tboss"), "put");
}

TEST_F(KnownMap, TakesEntryThatCameInTheMiddle) {
  ExpectWayOf(std::string("first@a.example x\n") + kText, "put");
}

TEST_F(KnownMap, LosesEntryThatWent) {
  ExpectWayOf("# people\ninfo@a.example\tinfo\n\nsales@b.example\tinfo\n", "remove");
}

TEST_F(KnownMap, TakesValueThatChanged) {
  ExpectWayOf(
      "# people\ninfo@a.example\tboss\nboss@a.example\tboss, info\n\nsales@b.example\tinfo\n",
      "put");
}

TEST_F(KnownMap, TakesSeveralChangesAtOnce) {
  ExpectWayOf("# persons\ninfo@a.example\tboss\n\nsales@b.example\tinfo\nnew@b.example\tboss\n",
              "put remove");
}

TEST_F(KnownMap, TakesKeyInCapitalLetters) {
  ExpectWayOf(With("NEW@b.example\tboss"), "put");
}

TEST_F(KnownMap, NeedsNoToolForComments) {
  ExpectWayOf(std::string("# more\n\n") + kText, "");
}

TEST_F(KnownMap, NeedsNoToolWhenNothingHasChanged) {
  ExpectWay(place_, "");
}

TEST_F(KnownMap, IsNeverOlderThanItsText) {
  place_.RunOn(std::string("# more\n") + kText);

  EXPECT_GE(fs::last_write_time(place_.map_path()), fs::last_write_time(place_.text_path()));
}

TEST_F(KnownMap, PrintsNothing) {
  const CommandRun run = place_.RunOn(With("new@b.example\tboss"));

  EXPECT_EQ(run.output + run.errors, "");
}

TEST_F(KnownMap, IsChangedEntryByEntryAfterItWasBuiltAnew) {
  place_.RunOn(With("info@a.example\tboss"));
  place_.TakeWays();

  ExpectWayOf(With("new@b.example\tboss"), "build");
  ExpectWayOf(With("newer@b.example\tboss"), "put remove");
}

TEST_F(KnownMap, IsBuiltWhenChangedKeyStandsTwice) {
  ExpectWayOf(With("info@a.example\tboss"), "build");
}

TEST_F(KnownMap, IsBuiltWhenChangedKeyStandsTwiceInOtherLetters) {
  ExpectWayOf(With("INFO@a.example\tboss"), "build");
}

TEST_F(KnownMap, IsBuiltWhenOneOfTwoLinesWithOneKeyGoes) {
  Build(place_, With("info@a.example\tboss"));

  ExpectWayOf(kText, "build");
}

TEST_F(KnownMap, IsBuiltForContinuedLine) {
  ExpectWayOf(With("new@b.example\tboss,\n  info"), "build");
}

TEST_F(KnownMap, IsBuiltWhenLineAboveContinuationGoes) {
  Build(place_, With("new@b.example\tboss,\n# comment\n  info"));

  ExpectWayOf(With("# comment\n  info"), "build");
}

TEST_F(KnownMap, IsBuiltWhenContinuationWouldBeginTheText) {
  Build(place_, "new@b.example boss,\n  info\nold@b.example info\n");

  ExpectWayOf("  info\nold@b.example info\n", "build");
}

TEST_F(KnownMap, IsBuiltForLineOfWhichPostmapWarns) {
  place_.SetText(With("lonely"));

  const CommandRun run = place_.Run();

  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.errors, HasSubstr("warning: " + place_.text_path().string() +
                                    ", line 6: expected format: key whitespace value"));
  EXPECT_EQ(place_.TakeWays(), "build");
}

TEST_F(KnownMap, IsBuiltAsLongAsTextHasOddLine) {
  Build(place_, With("\"in quotes\" x"));

  ExpectWayOf(With("\"in quotes\" x\nnew@b.example\tboss"), "build");
}

TEST_F(KnownMap, IsBuiltForKeysInOtherThanAscii) {
  ExpectWayOf(With("k\xc3\xa4se@b.example x"), "build");
}

TEST_F(KnownMap, IsBuiltWhenManyLinesChange) {
  std::string many = kText;
  for (int line = 0; line < 200; ++line) many += "user" + std::to_string(line) + " x\n";

  ExpectWayOf(many, "build");
}

TEST_F(KnownMap, IsBuiltWhenSomebodyElseHasBuiltIt) {
  place_.RunReal({place_.text_path()});

  ExpectWayOf(With("new@b.example\tboss"), "build");
}

TEST_F(KnownMap, IsBuiltWhenSomebodyElseHasChangedIt) {
  place_.RunReal({"-i", place_.text_path()}, "by@hand.example x\n");

  ExpectWay(place_, "build");
}

TEST_F(KnownMap, IsBuiltWhenItIsGone) {
  fs::remove(place_.map_path());

  ExpectWay(place_, "build");
}

TEST_F(KnownMap, IsBuiltWhenCopyIsTorn) {
  fs::resize_file(place_.StateFile(".text"), 20);

  ExpectWayOf(With("new@b.example\tboss"), "build");
}

TEST_F(KnownMap, IsBuiltWhenCopyIsOfOtherBytes) {
  std::string copy = test_support::ReadText(place_.StateFile(".text"));
  copy[20] = 'X';
  test_support::WriteText(place_.StateFile(".text"), copy);

  ExpectWayOf(With("new@b.example\tboss"), "build");
}

TEST_F(KnownMap, IsBuiltWhenRecordIsTorn) {
  fs::resize_file(place_.StateFile(".record"), 40);

  ExpectWayOf(With("new@b.example\tboss"), "build");
}

TEST_F(KnownMap, IsBuiltWhenPostfixReadsTextsInAnotherWay) {
  test_support::WriteText(place_.Path("postfix/main.cf"),
                          place_.folder().ReadText("postfix/main.cf") + "smtputf8_enable = no\n");
  test_support::MakeOld(place_.Path("postfix/main.cf"));

  ExpectWayOf(With("new@b.example\tboss"), "build");
}

TEST_F(KnownMap, IsBuiltInTheSameRunWhenToolFails) {
  place_.SetScript("case \"$*\" in *-i*) echo no luck; exit 1;; esac\n");

  place_.SetText(With("new@b.example\tboss"));
  const CommandRun run = place_.Run();

  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.errors, "no luck\n");
  EXPECT_EQ(place_.TakeWays(), "put build");
  EXPECT_EQ(place_.Entries(), place_.EntriesOfRebuilt());
}

TEST_F(KnownMap, IsBuiltInTheSameRunWhenSecondToolFails) {
  place_.SetScript("case \"$*\" in *-d*) kill -9 $$;; esac\n");

  ExpectWayOf("# persons\ninfo@a.example\tboss\n\nsales@b.example\tinfo\n", "put remove build");
}

TEST_F(KnownMap, StaysAsItIsWhenToolFailsToBuild) {
  const std::string before = place_.Entries();
  place_.SetScript("echo \"$4: no space left\" >&2; exit 75\n");
  place_.SetText(With("info@a.example\tboss"));

  const CommandRun run = place_.Run();

  EXPECT_EQ(run.status, 75);
  EXPECT_EQ(place_.Entries(), before);
  EXPECT_THAT(run.errors, HasSubstr("no space left"));
  EXPECT_THAT(run.errors, testing::Not(HasSubstr("zebmail-map")));
  EXPECT_EQ(place_.TakeWays(), "build");
  place_.SetScript("");
  ExpectWayOf(With("new@b.example\tboss"), "put");
}

TEST_F(KnownMap, IsOfTheTextThatStandsThereInTheEnd) {
  const std::string later = place_.folder().WriteText("later", With("later@b.example\tboss"));
  place_.SetScript("if [ -e '" + later + "' ]; then mv '" + later + "' '" +
                   place_.text_path().string() + "'; fi\n");

  ExpectWayOf(With("new@b.example\tboss"), "put build");
}

TEST_F(KnownMap, IsOfTheTextThatStandsThereInTheEndOfABuild) {
  const std::string later = place_.folder().WriteText("later", With("later@b.example\tboss"));
  place_.SetScript("if [ -e '" + later + "' ]; then mv '" + later + "' '" +
                   place_.text_path().string() + "'; fi\n");

  ExpectWayOf(With("info@a.example\tboss"), "build build");
}

TEST_F(KnownMap, IsOfATextThatWasThereWhenThatChangesWithoutEnd) {
  place_.SetScript("echo \"$$@b.example x\" >>" + place_.text_path().string() + "\n");

  const CommandRun run = place_.RunOn(With("new@b.example\tboss"));

  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.errors, HasSubstr("changes all the time; the map is of what it just was"));
  EXPECT_THAT(place_.Entries(), HasSubstr("new@b.example\tboss"));
  place_.SetScript("");
  EXPECT_EQ(place_.Run().status, 0);
  EXPECT_EQ(place_.Entries(), place_.EntriesOfRebuilt());
}

TEST_F(KnownMap, KeepsOwnerAndModeWhenItIsBuilt) {
  test_support::SetMode(place_.map_path(), 0640);
  ASSERT_EQ(chown(place_.map_path().c_str(), 0, 8), 0);

  ExpectWayOf(With("info@a.example\tboss"), "build");

  EXPECT_EQ(ModeOf(place_.map_path()), 0640U);
  EXPECT_EQ(test_support::OwnerOf(place_.map_path()), (test_support::Owner{0, 8}));
}

TEST_F(KnownMap, GetsModeOfItsTextWhenThereWasNone) {
  fs::remove(place_.map_path());
  place_.SetText(kText);
  test_support::SetMode(place_.text_path(), 0600);

  ExpectWay(place_, "build");

  EXPECT_EQ(ModeOf(place_.map_path()), 0600U);
}

TEST_F(KnownMap, GetsGroupOfItsTextWhenThereWasNone) {
  fs::remove(place_.map_path());
  place_.SetText(kText);
  ASSERT_EQ(chown(place_.text_path().c_str(), 0, 8), 0);

  ExpectWay(place_, "build");

  EXPECT_EQ(test_support::OwnerOf(place_.map_path()), (test_support::Owner{0, 8}));
}

TEST_F(KnownMap, IsBuiltWhenThatIsAskedFor) {
  EXPECT_EQ(place_.Run({"--whole"}).status, 0);
  EXPECT_EQ(place_.TakeWays(), "build");
  ExpectWayOf(With("new@b.example\tboss"), "put");
}

TEST_F(KnownMap, IsBuiltInPlaceWhereOthersCanWriteInItsFolder) {
  test_support::SetMode(place_.Path("mail"), 0777);

  place_.SetText(With("info@a.example\tboss"));
  const CommandRun run = place_.Run({"--explain"});

  EXPECT_THAT(run.errors, HasSubstr("it is built in place: " + place_.Path("mail").string() +
                                    " can be written by others"));
  EXPECT_EQ(place_.Entries(), place_.EntriesOfRebuilt());
}

TEST_F(KnownMap, IsBuiltInPlaceWhereItIsALink) {
  fs::rename(place_.map_path(), place_.Path("elsewhere.db"));
  fs::create_symlink(place_.Path("elsewhere.db"), place_.map_path());

  ExpectWayOf(With("new@b.example\tboss"), "build");

  EXPECT_TRUE(fs::is_symlink(place_.map_path()));
}

TEST_F(KnownMap, IsBuiltInPlaceWhereItHasTwoNames) {
  fs::create_hard_link(place_.map_path(), place_.Path("other.db"));

  ExpectWayOf(With("info@a.example\tboss"), "build");

  EXPECT_TRUE(fs::equivalent(place_.map_path(), place_.Path("other.db")));
  ExpectWayOf(With("new@b.example\tboss"), "build");
  ExpectWayOf(With("newer@b.example\tboss"), "put remove");
}

TEST_F(KnownMap, IsBuiltThoughKilledRunHasLeftSomething) {
  test_support::WriteText(place_.Path("mail/.table.zebmail-map/__db.table.db"), "");
  test_support::SetMode(place_.Path("mail/.table.zebmail-map"), 0700);

  ExpectWayOf(With("info@a.example\tboss"), "build");

  EXPECT_FALSE(fs::exists(place_.Path("mail/.table.zebmail-map")));
}

TEST_F(KnownMap, TakesAwayWhatKilledRunHasLeftThoughNothingIsBuilt) {
  test_support::WriteText(place_.Path("mail/.table.zebmail-map/table"), kText);
  test_support::SetMode(place_.Path("mail/.table.zebmail-map"), 0700);

  ExpectWayOf(kText, "");

  EXPECT_FALSE(fs::exists(place_.Path("mail/.table.zebmail-map")));
}

TEST_F(KnownMap, IsNotKnownWhenItsCopyWouldLeaveNoRoom) {
  const test_support::SmallDisk disk(place_.Path("state"), 128 * 1024);
  std::string text;
  for (int line = 0; line < 2000; ++line) {
    text += "address" + std::to_string(line) + "@a.example\tinfo info info info\n";
  }

  const CommandRun run = place_.RunOn(text);

  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.errors, HasSubstr(": No space left on device; see that its disk has room; until "
                                    "then whole maps are built"));
  EXPECT_EQ(place_.Entries(), place_.EntriesOfRebuilt());
  EXPECT_EQ(fs::file_size(place_.StateFile(".text")), 0U);
}

TEST_F(KnownMap, IsBuiltInPlaceWhereSomebodyElseStands) {
  fs::create_directory(place_.Path("mail/.table.zebmail-map"));
  test_support::SetOwner(place_.Path("mail/.table.zebmail-map"), {kNobody, kNobody});

  ExpectWayOf(With("info@a.example\tboss"), "build");

  EXPECT_TRUE(fs::exists(place_.Path("mail/.table.zebmail-map")));
}

TEST_F(KnownMap, IsKnownByTheNameOfALinkedFolderToo) {
  fs::create_directory_symlink(place_.Path("mail"), place_.Path("linked"));
  place_.SetText(With("new@b.example\tboss"));
  std::vector<std::string> words = place_.Words();
  words.back() = place_.Path("linked/table");

  EXPECT_EQ(test_support::RunCommand(words).status, 0);

  EXPECT_EQ(place_.TakeWays(), "put");
  EXPECT_EQ(place_.Entries(), place_.EntriesOfRebuilt());
}

TEST_F(KnownMap, TakesTypeBeforeItsName) {
  place_.SetText(With("new@b.example\tboss"));
  std::vector<std::string> words = place_.Words();
  words.back().insert(0, "hash:");

  EXPECT_EQ(test_support::RunCommand(words).status, 0);

  EXPECT_EQ(place_.TakeWays(), "put");
}

TEST_F(KnownMap, IsRightWhenManyWorkOnItAtOnce) {
  std::vector<std::future<CommandRun>> runs;
  std::string text = kText;
  for (int run = 0; run < 8; ++run) {
    text += "user" + std::to_string(run) + "@b.example x\n";
    place_.SetText(text);
    runs.push_back(std::async(std::launch::async, [this] { return place_.Run(); }));
  }
  for (std::future<CommandRun>& run : runs) {
    const CommandRun done = run.get();
    EXPECT_EQ(done.status, 0) << done.errors;
  }

  EXPECT_EQ(place_.Entries(), place_.EntriesOfRebuilt());
}

TEST_F(KnownMap, IsRightWhenManyBuildItWhoKnowNothingOfEachOther) {
  place_.SetText(With("new@b.example\tboss"));
  std::vector<std::future<CommandRun>> runs;
  for (int run = 0; run < 8; ++run) {
    const fs::path state = place_.Path("state" + std::to_string(run));
    fs::create_directory(state);
    runs.push_back(std::async(std::launch::async, [this, state] {
      return place_.Run({"--whole", "--state", state});
    }));
  }
  for (std::future<CommandRun>& run : runs) {
    const CommandRun done = run.get();
    EXPECT_EQ(done.status, 0) << done.errors;
  }

  EXPECT_EQ(place_.Entries(), place_.EntriesOfRebuilt());
  EXPECT_FALSE(fs::exists(place_.Path("mail/.table.zebmail-map")));
}

TEST_F(KnownMap, IsBuiltInPlaceWhereAFolderOpenToOthersStands) {
  fs::create_directory(place_.Path("mail/.table.zebmail-map"));
  test_support::SetMode(place_.Path("mail/.table.zebmail-map"), 0755);

  ExpectWayOf(With("info@a.example\tboss"), "build");

  EXPECT_TRUE(fs::exists(place_.Path("mail/.table.zebmail-map")));
}

TEST(MarkedMap, IsItselfUnderAnotherName) {
  const test_support::TempFolder folder;
  const fs::path path = folder.WriteText("map.db", "entries");
  const auto marked = zebmail::maps::MarkMap(zebmail::maps::OpenMap(path), path);
  ASSERT_TRUE(marked);

  fs::rename(path, folder.Path("other.db"));

  EXPECT_TRUE(zebmail::maps::HasMarkOf(*marked, StatusOf(folder.Path("other.db"))));
}

TEST(MarkedMap, IsNotItselfWhenSomebodyHasWrittenToIt) {
  const test_support::TempFolder folder;
  const fs::path path = folder.WriteText("map.db", "entries");
  const auto marked = zebmail::maps::MarkMap(zebmail::maps::OpenMap(path), path);
  ASSERT_TRUE(marked);

  std::fstream(path) << "other";

  EXPECT_FALSE(zebmail::maps::HasMarkOf(*marked, StatusOf(path)));
}

TEST(Maps, OfAliasesKeepWhatPostaliasPutsThere) {
  const MapPlace place("hash", "postalias");
  place.RunOn("info: boss\nold: boss\n");
  place.TakeWays();

  place.RunOn("info: boss,  sales\nNew.Name+x : \"|prog a\"\n");

  EXPECT_EQ(place.TakeWays(), "put remove");
  EXPECT_EQ(place.Entries(),
            "@:\t@\nYP_MASTER_NAME:\tmail.test\ninfo:\tboss, sales\nnew.name+x:\t\"|prog a\"\n");
}

TEST(Maps, OfAnotherTypeAreBuiltByPostfix) {
  const MapPlace place("texthash");

  const CommandRun run = place.RunOn(kText);

  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.errors, HasSubstr("unsupported dictionary type: texthash"));
  EXPECT_EQ(place.TakeWays(), "build");
}

TEST(Maps, OfTextThatIsNotThereAreLeftToPostfix) {
  const MapPlace place;
  fs::remove(place.text_path());

  const CommandRun run = place.Run();

  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.errors, HasSubstr("No such file or directory"));
  EXPECT_EQ(place.TakeWays(), "build");
}

TEST(Maps, OfSomebodyElsesTextAreLeftToPostfix) {
  const MapPlace place;
  place.SetText(kText);
  test_support::SetMode(place.Path("mail"), 0777);
  test_support::SetOwner(place.text_path(), {kNobody, kNobody});

  EXPECT_EQ(place.Run().status, 0);
  EXPECT_EQ(place.Run().status, 0);

  EXPECT_EQ(place.TakeWays(), "build build");
  EXPECT_EQ(test_support::OwnerOf(place.map_path()).user, kNobody);
}

TEST(Maps, AreLeftToPostfixWhereStateFolderIsOpenToOthers) {
  const MapPlace place;
  place.RunOn(kText);
  place.TakeWays();
  test_support::SetMode(place.Path("state/maps"), 0777);

  const CommandRun run = place.RunOn(With("new@b.example\tboss"));

  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.errors, HasSubstr("warning: " + place.Path("state/maps").string() +
                                    " can be written by others"));
  EXPECT_EQ(place.TakeWays(), "build");
  EXPECT_EQ(place.Entries(), place.EntriesOfRebuilt());
}

TEST(Maps, AreLeftToPostfixWhereThereIsNoStateFolder) {
  const MapPlace place;
  fs::remove(place.Path("state"));

  const CommandRun run = place.RunOn(kText);

  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.errors, HasSubstr("warning: " + place.Path("state/maps").string() +
                                    ": No such file or directory"));
  EXPECT_EQ(place.TakeWays(), "build");
}

struct ForeignFile {
  const char* name;
  void (*put)(const MapPlace& place, const fs::path& file);
};

class ForeignFiles : public testing::TestWithParam<ForeignFile> {};

INSTANTIATE_TEST_SUITE_P(
    Maps, ForeignFiles,
    testing::Values(ForeignFile{"Link",
                                [](const MapPlace& place, const fs::path& file) {
                                  fs::remove(file);
                                  fs::create_symlink(place.folder().WriteText("precious", "gold"),
                                                     file);
                                }},
                    ForeignFile{"OtherName",
                                [](const MapPlace& place, const fs::path& file) {
                                  fs::remove(file);
                                  fs::create_hard_link(place.folder().WriteText("precious", "gold"),
                                                       file);
                                }},
                    ForeignFile{"Folder",
                                [](const MapPlace&, const fs::path& file) {
                                  fs::remove(file);
                                  fs::create_directory(file);
                                }},
                    ForeignFile{"ReadableByOthers",
                                [](const MapPlace&, const fs::path& file) {
                                  test_support::SetMode(file, 0644);
                                }},
                    ForeignFile{"OfSomebodyElse",
                                [](const MapPlace&, const fs::path& file) {
                                  test_support::SetOwner(file, {kNobody, kNobody});
                                }}),
    [](const testing::TestParamInfo<ForeignFile>& file) { return file.param.name; });

TEST_P(ForeignFiles, AmongTheStateAreNotTouched) {
  for (const char* ending : {".record", ".text"}) {
    const MapPlace place;
    place.RunOn(kText);
    place.TakeWays();
    place.folder().WriteText("precious", "gold");
    GetParam().put(place, place.StateFile(ending));

    const CommandRun run = place.RunOn(With("new@b.example\tboss"));

    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.errors, HasSubstr("warning: " + place.StateFile(ending).string()));
    EXPECT_THAT(run.errors, HasSubstr("remove it"));
    EXPECT_EQ(place.TakeWays(), "build");
    EXPECT_EQ(place.Entries(), place.EntriesOfRebuilt());
    EXPECT_EQ(place.folder().ReadText("precious"), "gold");
  }
}

TEST(Maps, KeepTheirTextsFromOthers) {
  const MapPlace place;
  place.RunOn(kText);

  EXPECT_EQ(ModeOf(place.Path("state/maps")), 0700U);
  EXPECT_EQ(ModeOf(place.StateFile(".record")), 0600U);
  EXPECT_EQ(ModeOf(place.StateFile(".text")), 0600U);
}

class HandedOn : public testing::TestWithParam<std::vector<std::string>> {};

INSTANTIATE_TEST_SUITE_P(Maps, HandedOn,
                         testing::Values(std::vector<std::string>{"-q", "info@a.example"},
                                         std::vector<std::string>{"-s"},
                                         std::vector<std::string>{"-d", "info@a.example"}));

TEST_P(HandedOn, ToPostfixIsWhatIsNoBuild) {
  const MapPlace one;
  const MapPlace other;
  one.RunOn(kText);
  other.RunOn(kText);
  std::vector<std::string> words = one.Words();
  words.insert(words.end() - 1, GetParam().begin(), GetParam().end());
  std::vector<std::string> real_words = GetParam();
  real_words.push_back(other.text_path());

  const CommandRun run = test_support::RunCommand(words);

  const CommandRun real = other.RunReal(real_words);
  EXPECT_EQ(run.status, real.status);
  EXPECT_EQ(run.output, real.output);
  EXPECT_EQ(one.Entries(), other.Entries());
}

TEST(Maps, ThatAreSeveralAreHandedOn) {
  const MapPlace place;
  place.RunOn(kText);
  place.TakeWays();
  place.folder().WriteText("mail/second", "a b\n");
  std::vector<std::string> words = place.Words();
  words.push_back(place.Path("mail/second"));

  EXPECT_EQ(test_support::RunCommand(words).status, 0);

  EXPECT_EQ(place.TakeWays(), "build");
  EXPECT_TRUE(fs::exists(place.Path("mail/second.db")));
}

TEST(Maps, AreNotBuiltByWrongUsage) {
  const std::string program = std::string(ZEBMAIL_MAPS_FOLDER) + "/zebmail-postmap";

  const CommandRun run = test_support::RunCommand({program, "--state", "relative", "/x"});

  EXPECT_EQ(run.status, 64);
  EXPECT_EQ(run.errors, "zebmail-postmap: --state takes an absolute path\n");
}

TEST(Maps, NeedPostfixsProgram) {
  const std::string program = std::string(ZEBMAIL_MAPS_FOLDER) + "/zebmail-postmap";

  const CommandRun run =
      test_support::RunCommand({program, "--tool", "/nowhere/postmap", "-s", "x"});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(
      run.errors,
      "zebmail-postmap: /nowhere/postmap: No such file or directory; install Postfix, or name "
      "its program with --tool\n");
}

}  // namespace
}  // namespace maps_test
