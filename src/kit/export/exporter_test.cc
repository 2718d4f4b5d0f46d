#include "kit/export/exporter.h"

#include "kit/export/export_manifest.h"
#include "kit/image/images.h"
#include "kit/model/project.h"
#include "kit/model/store_target.h"
#include "kit/store/file_project_store.h"
#include "kit/util/vorno_error.h"
#include "kit/motion/motion_renderer.h"
#include "tests/ffprobe.h"
#include "tests/temp_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <iterator>
#include <set>

#include <fstream>

namespace vorno::exporter_test {
namespace {

namespace fs = std::filesystem;
using testing::TempFolder;

// Store targets at a tenth of their size: the same ids, families and safe areas in proportion,
// so that a whole export draws in milliseconds.
StoreTarget small(const StoreTarget& target, int divisor = 10) {
  StoreTarget out = target;
  out.width = target.width / divisor;
  out.height = target.height / divisor;
  if (out.safeArea)
    out.safeArea = Rect{target.safeArea->x / divisor, target.safeArea->y / divisor, target.safeArea->width / divisor,
                        target.safeArea->height / divisor};
  return out;
}

const char* theme = R"("theme": {"background": "#FFFFFF", "invertedBackground": "#000000", "foreground": "#000000",
    "invertedForeground": "#FFFFFF", "accent": "#FF0000", "muted": "#777777", "headlineWeight": "bold"})";

std::string slidesJSON(const std::vector<std::string>& ids) {
  std::string out = "[";
  for (size_t i = 0; i < ids.size(); ++i)
    out += std::string(i ? "," : "") + R"({"id": ")" + ids[i] + R"(", "headline": "Slide )" + ids[i] + R"("})";
  return out + "]";
}

Project project(const std::vector<std::string>& slides, const std::string& creatives = "",
                const std::string& locales = R"(["en-US", "ja-JP"])") {
  return FileProjectStore::decode(std::string(R"({"schemaVersion": 5, "appName": "A", "locales": )") + locales +
                                  R"(, "targets": ["ios.iphone-6.9", "play.phone"], )" + theme +
                                  R"(, "slides": )" + slidesJSON(slides) + creatives + "}");
}

const char* movingHeader = R"(, "creatives": [{"canvas": "ios.header", "id": "wave", "headline": "Wave",
  "motion": {"duration": 8, "tracks": {"headline": [{"t": 0, "y": 0.4}, {"t": 8, "y": 0.6}]}}},
  {"canvas": "ios.universal", "id": "calm", "headline": "Calm",
  "motion": {"duration": 8, "tracks": {"headline": [{"t": 0, "y": 0.4}, {"t": 8, "y": 0.6}]}}}])";

class ExporterTest : public ::testing::Test {
 protected:
  ExporterTest() : store_(folder_.path() / "Set.vorno") { fs::create_directories(store_.root()); }

  std::vector<StoreTarget> slots() const { return {small(StoreTarget::iphone69()), small(StoreTarget::playPhone())}; }

  ExportSummary run(const Project& p, std::optional<std::vector<std::string>> locales = std::nullopt,
                    std::optional<std::vector<StoreTarget>> targets = std::nullopt,
                    ExportLayout layout = ExportLayout::vorno, std::optional<fs::path> into = std::nullopt) {
    return exporter_.exportProject(p, store_, {targets ? *targets : slots(), locales, layout, into});
  }

  fs::path exports() const { return store_.exportsDir(); }

  TempFolder folder_{"vorno-export"};
  FileProjectStore store_;
  Exporter exporter_;
};

TEST(ExporterPath, VornoLayoutByPlatformTargetLocale) {
  Slide slide;
  slide.id = "week";
  EXPECT_EQ(Exporter::path(ExportLayout::vorno, StoreTarget::iphone69(), "en-US", 3, slide),
            "ios/ios.iphone-6.9/en-US/03-week.png");
  EXPECT_EQ(Exporter::path(ExportLayout::vorno, StoreTarget::playTablet7(), "ja-JP", 12, slide),
            "android/play.tablet-7/ja-JP/12-week.png");
  EXPECT_EQ(Exporter::creativePath(ExportLayout::vorno, StoreTarget::appStoreHeader(), "en-US", "wave", "mp4"),
            "ios/ios.header/en-US/wave.mp4");
}

TEST(ExporterPath, FastlaneLayoutFoldersForEveryKindOfTarget) {
  Slide slide;
  slide.id = "week";
  EXPECT_EQ(Exporter::path(ExportLayout::fastlane, StoreTarget::iphone69(), "en-US", 1, slide),
            "fastlane/screenshots/en-US/01_ios.iphone-6.9.png");
  EXPECT_EQ(Exporter::path(ExportLayout::fastlane, StoreTarget::ipad13(), "en-US", 2, slide),
            "fastlane/screenshots/en-US/02_ios.ipad-13.png");
  EXPECT_EQ(Exporter::path(ExportLayout::fastlane, StoreTarget::iphoneDuo(), "de-DE", 1, slide),
            "fastlane/iphone-duo/de-DE/01_week.png");
  EXPECT_EQ(Exporter::path(ExportLayout::fastlane, StoreTarget::playTablet7(), "en-US", 1, slide),
            "fastlane/metadata/android/en-US/images/sevenInchScreenshots/01_week.png");
  EXPECT_EQ(Exporter::path(ExportLayout::fastlane, StoreTarget::playTablet10(), "en-US", 1, slide),
            "fastlane/metadata/android/en-US/images/tenInchScreenshots/01_week.png");
  EXPECT_EQ(Exporter::path(ExportLayout::fastlane, StoreTarget::playPhone(), "en-US", 4, slide),
            "fastlane/metadata/android/en-US/images/phoneScreenshots/04_week.png");
  EXPECT_EQ(Exporter::creativePath(ExportLayout::fastlane, StoreTarget::appStoreHeader(), "en-US", "wave", "png"),
            "fastlane/creatives/en-US/ios.header/wave.png");
}

TEST(ExporterPath, FolderForVariantUnderExportsVariants) {
  FileProjectStore store("/tmp/Set.vorno");
  EXPECT_EQ(Exporter::folder(std::string("bold"), store), fs::path("/tmp/Set.vorno/exports/variants/bold"));
  EXPECT_EQ(Exporter::folder(std::nullopt, store), std::nullopt);
}

TEST(ExporterDedupe, KeepsFirstOfEachDescriptionSortedBySeverityThenDescription) {
  Issue a(Issue::Severity::error, "b.code", "Second.");
  Issue b(Issue::Severity::info, "z.code", "Info.");
  Issue c(Issue::Severity::error, "a.code", "First.");
  Issue again = a;
  again.element = "other";  // not part of the description: still the same issue
  auto out = Exporter::dedupe({a, b, c, again, b});
  ASSERT_EQ(out.size(), 3u);
  EXPECT_EQ(out[0], b);
  EXPECT_EQ(out[1], c);
  EXPECT_EQ(out[2], a);
}

TEST_F(ExporterTest, WritesEveryFileInJobOrderAtExactSizeWithManifest) {
  auto summary = run(project({"one", "two"}));
  std::vector<std::string> expected;
  for (std::string target : {"ios/ios.iphone-6.9", "android/play.phone"})
    for (std::string locale : {"en-US", "ja-JP"})
      for (std::string file : {"01-one.png", "02-two.png"})
        expected.push_back((exports() / target / locale / file).string());
  EXPECT_EQ(summary.files, expected);
  EXPECT_EQ(summary.directory, exports().string());
  EXPECT_TRUE(summary.removed.empty());
  for (size_t i = 0; i < expected.size(); ++i) {
    auto size = Images::pixelSize(expected[i]);
    ASSERT_TRUE(size) << expected[i];
    const StoreTarget target = slots()[i < 4 ? 0 : 1];  // a copy: slots() is made anew each call
    EXPECT_EQ(*size, (Size{double(target.width), double(target.height)})) << expected[i];
  }
  const ExportManifest manifest = ExportManifest::read(exports());
  ASSERT_EQ(manifest.files.size(), 8u);
  EXPECT_EQ(manifest.files[4],
            (ExportManifest::Entry{"android/play.phone/en-US/01-one.png", ExportLayout::vorno, "play.phone", "en-US"}));
}

TEST_F(ExporterTest, ProjectWithNoSlidesAndNoCreativesExportsNothingWritesManifestRemovesOld) {
  auto first = run(project({"one"}));
  ASSERT_EQ(first.files.size(), 4u);
  auto summary = run(project({}));
  EXPECT_TRUE(summary.files.empty());
  EXPECT_EQ(summary.removed.size(), 4u);
  EXPECT_TRUE(fs::exists(exports() / ".vorno-export.json"));
  EXPECT_TRUE(ExportManifest::read(exports()).files.empty());
  for (const auto& file : first.files) EXPECT_FALSE(fs::exists(file)) << file;
  EXPECT_FALSE(fs::exists(exports() / "ios"));
}

TEST_F(ExporterTest, DroppingSlideRemovesItsFilesEverywhereAndRenumbersOthers) {
  run(project({"one", "two", "three"}));
  auto summary = run(project({"one", "three"}));
  for (std::string target : {"ios/ios.iphone-6.9", "android/play.phone"})
    for (std::string locale : {"en-US", "ja-JP"}) {
      fs::path folder = exports() / target / locale;
      EXPECT_TRUE(fs::exists(folder / "01-one.png"));
      EXPECT_TRUE(fs::exists(folder / "02-three.png"));
      EXPECT_FALSE(fs::exists(folder / "02-two.png"));
      EXPECT_FALSE(fs::exists(folder / "03-three.png"));
    }
  EXPECT_EQ(summary.removed.size(), 8u);  // two old names in each of four folders
  EXPECT_EQ(ExportManifest::read(exports()).files.size(), 8u);
}

TEST_F(ExporterTest, ExportingOnlyOneLocaleLeavesOtherLocalesAlone) {
  run(project({"one", "two"}));
  auto summary = run(project({"one"}), std::vector<std::string>{"en-US"});
  EXPECT_TRUE(fs::exists(exports() / "ios/ios.iphone-6.9/ja-JP/02-two.png"));
  EXPECT_FALSE(fs::exists(exports() / "ios/ios.iphone-6.9/en-US/02-two.png"));
  EXPECT_EQ(summary.removed.size(), 2u);
  EXPECT_EQ(ExportManifest::read(exports()).files.size(), 6u);  // 4 of ja-JP kept, 2 new
}

TEST_F(ExporterTest, SlideIdDotDotXFailsBeforeAnythingIsWritten) {
  try {
    run(project({"ok", "../x"}));
    FAIL() << "no error";
  } catch (const VornoError& error) {
    EXPECT_EQ(error.kind(), VornoError::Kind::invalid);
    EXPECT_EQ(error.message(),
              "Slide id \"../x\" can't be used in a file name: use letters, digits, - and _ (no /, no leading dot).");
  }
  EXPECT_FALSE(fs::exists(exports()));
}

TEST_F(ExporterTest, LocaleAndCreativeIdsAreCheckedBeforeAnythingIsWritten) {
  EXPECT_THROW(run(project({"ok"}), std::vector<std::string>{".hidden"}), VornoError);
  std::vector<StoreTarget> withCanvas = slots();
  withCanvas.push_back(small(StoreTarget::appStoreHeader()));
  EXPECT_THROW(run(project({"ok"}, R"(, "creatives": [{"canvas": "ios.header", "id": "a/b", "headline": "X"}])"),
                   std::nullopt, withCanvas),
               VornoError);
  EXPECT_FALSE(fs::exists(exports()));
}

TEST_F(ExporterTest, CreativeWithMotionYieldsPosterPNGAndMP4AndUniversalOnlyPlainPNG) {
  ASSERT_TRUE(testing::ffprobeAvailable()) << "ffprobe is installed by scripts/setup.sh";
  std::vector<StoreTarget> targets{small(StoreTarget::appStoreHeader(), 20), small(StoreTarget::appStoreUniversal())};
  std::vector<ExportProgress> reports;
  exporter_.reportingProgress([&](const ExportProgress& progress) { reports.push_back(progress); });
  auto summary = run(project({}, movingHeader), std::vector<std::string>{"en-US"}, targets);
  // The PNGs in job order, then the videos, one after the other.
  EXPECT_EQ(summary.files, (std::vector<std::string>{(exports() / "ios/ios.header/en-US/wave.png").string(),
                                                     (exports() / "ios/ios.universal/en-US/calm.png").string(),
                                                     (exports() / "ios/ios.header/en-US/wave.mp4").string()}));
  auto posterSize = Images::pixelSize(summary.files[0]);
  ASSERT_TRUE(posterSize);
  EXPECT_EQ(*posterSize, (Size{double(targets[0].width), double(targets[0].height)}));

  // The poster is the moment at its poster time (0 s by default), not another one of the loop.
  const Project moving = project({}, movingHeader);
  auto moment = [&](double seconds) {
    return MotionRenderer().frame(moving, store_.root().string(), moving.creatives[0], "en-US", seconds, 1.0, nullptr,
                                  &targets[0]).image;
  };
  Image poster = Images::load(summary.files[0]);
  EXPECT_LT(Images::pixelDifference(poster, moment(0)), 0.001);
  EXPECT_GT(Images::pixelDifference(poster, moment(4)), 0.01);

  testing::VideoProbe video = testing::probeVideo(summary.files[2]);
  ASSERT_TRUE(video.error.empty()) << video.error;
  EXPECT_EQ(video.codec, "h264");
  EXPECT_EQ(video.width, targets[0].width);
  EXPECT_EQ(video.frameCount, 8 * 30);
  // The video is in the manifest, so a later run that drops the creative removes it.
  std::set<std::string> listed;
  for (const auto& entry : ExportManifest::read(exports()).files) listed.insert(entry.path);
  EXPECT_TRUE(listed.contains("ios/ios.header/en-US/wave.mp4"));
  // The universal canvas has no video slot: never an MP4 there.
  EXPECT_FALSE(fs::exists(exports() / "ios/ios.universal/en-US/calm.mp4"));
  // Progress goes on while the video encodes, and ends with it.
  ASSERT_FALSE(reports.empty());
  EXPECT_TRUE(std::any_of(reports.begin(), reports.end(), [](const ExportProgress& p) { return p.encoding; }));
  EXPECT_EQ(reports.back().finished, 3);
  EXPECT_EQ(reports.back().file, "ios/ios.header/en-US/wave.mp4");
}

TEST_F(ExporterTest, DroppingACreativeInMotionRemovesItsVideo) {
  std::vector<StoreTarget> targets{small(StoreTarget::appStoreHeader(), 20)};
  run(project({}, movingHeader), std::vector<std::string>{"en-US"}, targets);
  ASSERT_TRUE(fs::exists(exports() / "ios/ios.header/en-US/wave.mp4"));
  auto summary = run(project({}), std::vector<std::string>{"en-US"}, targets);
  EXPECT_FALSE(fs::exists(exports() / "ios/ios.header/en-US/wave.mp4"));
  EXPECT_NE(std::find(summary.removed.begin(), summary.removed.end(),
                      (exports() / "ios/ios.header/en-US/wave.mp4").string()),
            summary.removed.end());
}

TEST_F(ExporterTest, CreativeOnCanvasOutsideTheRunIsSkipped) {
  auto summary = run(project({"one"}, movingHeader), std::vector<std::string>{"en-US"});
  EXPECT_EQ(summary.files.size(), 2u);
  EXPECT_FALSE(fs::exists(exports() / "ios/ios.header"));
}

TEST_F(ExporterTest, IntoUsersFolderWorksTheSameWithManifestThere) {
  const fs::path mine = folder_.path() / "Desktop" / "shots";
  auto summary = run(project({"one"}), std::vector<std::string>{"en-US"}, std::nullopt, ExportLayout::fastlane, mine);
  EXPECT_EQ(summary.directory, mine.string());
  EXPECT_EQ(summary.files, (std::vector<std::string>{
                               (mine / "fastlane/screenshots/en-US/01_ios.iphone-6.9.png").string(),
                               (mine / "fastlane/metadata/android/en-US/images/phoneScreenshots/01_one.png").string()}));
  EXPECT_EQ(ExportManifest::read(mine).files.size(), 2u);
  EXPECT_FALSE(fs::exists(exports()));
}

TEST_F(ExporterTest, FirstFailureIsThrownAfterOtherJobsFinishAndOldExportStays) {
  run(project({"one", "two"}));
  const std::string manifest = [&] {
    std::ifstream in(exports() / ".vorno-export.json");
    return std::string(std::istreambuf_iterator<char>(in), {});
  }();
  // A file where the ja-JP folder of the iPhone should be: those jobs can't write.
  fs::remove_all(exports() / "ios/ios.iphone-6.9/ja-JP");
  std::ofstream(exports() / "ios/ios.iphone-6.9/ja-JP") << "in the way";
  fs::remove(exports() / "android/play.phone/ja-JP/01-one.png");
  EXPECT_THROW(run(project({"one"})), VornoError);
  // The other jobs ran on and wrote their files; nothing old was removed, the manifest is as it was.
  EXPECT_TRUE(fs::exists(exports() / "android/play.phone/ja-JP/01-one.png"));
  EXPECT_TRUE(fs::exists(exports() / "ios/ios.iphone-6.9/en-US/02-two.png"));
  std::ifstream in(exports() / ".vorno-export.json");
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), manifest);
}

// A run that fails after writing files under new names: they are on record, so the next run
// removes them instead of leaving them for an uploader to publish.
TEST_F(ExporterTest, FilesOfAFailedRunAreListedAndTheNextRunRemovesThem) {
  run(project({"one", "two"}));
  fs::remove_all(exports() / "ios/ios.iphone-6.9/ja-JP");
  std::ofstream(exports() / "ios/ios.iphone-6.9/ja-JP") << "in the way";
  EXPECT_THROW(run(project({"one", "temp"})), VornoError);
  const fs::path orphan = exports() / "android/play.phone/en-US/02-temp.png";
  ASSERT_TRUE(fs::exists(orphan));
  std::ifstream in(exports() / ".vorno-export.json");
  const std::string listed(std::istreambuf_iterator<char>(in), {});
  EXPECT_NE(listed.find("android/play.phone/en-US/02-temp.png"), std::string::npos);
  EXPECT_NE(listed.find("android/play.phone/en-US/02-two.png"), std::string::npos);  // old files stay listed

  fs::remove(exports() / "ios/ios.iphone-6.9/ja-JP");
  auto summary = run(project({"one"}));
  EXPECT_FALSE(fs::exists(orphan));
  EXPECT_FALSE(fs::exists(exports() / "android/play.phone/en-US/02-two.png"));
  EXPECT_TRUE(fs::exists(exports() / "android/play.phone/en-US/01-one.png"));
  EXPECT_NE(std::find(summary.removed.begin(), summary.removed.end(), orphan.string()), summary.removed.end());
}

TEST_F(ExporterTest, StaleTemporaryOfAKilledWriteIsSweptButUsersDotFilesStay) {
  const fs::path folder = exports() / "ios/ios.iphone-6.9/en-US";
  fs::create_directories(folder);
  std::ofstream(folder / ".01-one.png.E621E1F8-C36C-495A-93FC-0C247A3E6E5F") << "half";
  std::ofstream(folder / ".01-one.png.mine") << "user";
  run(project({"one"}), std::vector<std::string>{"en-US"});
  EXPECT_FALSE(fs::exists(folder / ".01-one.png.E621E1F8-C36C-495A-93FC-0C247A3E6E5F"));
  EXPECT_TRUE(fs::exists(folder / ".01-one.png.mine"));
}

TEST_F(ExporterTest, UnknownTargetsOfTheProjectAreDropped) {
  Project p = project({"one"});
  p.targets = {"ios.nonexistent", "play.phone"};
  auto summary = exporter_.exportProject(p, store_, {.locales = std::vector<std::string>{"en-US"}});
  EXPECT_EQ(summary.files, std::vector<std::string>{(exports() / "android/play.phone/en-US/01-one.png").string()});
}

TEST_F(ExporterTest, LooksExportBaseAndVariantsAndCleansUpLooksThatAreGone) {
  Project base = project({"one"}, "", R"(["en-US"])");
  Project look = base;
  look.slides[0].headline = LocalizedText{{{"en-US", "Bolder words"}}};
  Project withVariant = base.savingLook("bold", look);
  ASSERT_EQ(withVariant.variants.size(), 1u);

  // An old look "gone" with a manifest, and a user's folder without one.
  const fs::path gone = exports() / "variants/gone";
  fs::create_directories(gone / "ios/ios.iphone-6.9/en-US");
  std::ofstream(gone / "ios/ios.iphone-6.9/en-US/01-one.png") << "old";
  ExportManifest::replace({store_.root(), "exports/variants/gone"},
                          {{"ios/ios.iphone-6.9/en-US/01-one.png", ExportLayout::vorno, "ios.iphone-6.9", "en-US"}}, {});
  fs::create_directories(exports() / "variants/mine");
  std::ofstream(exports() / "variants/mine/keep.txt") << "user";

  auto result = exporter_.exportLooks(withVariant, store_, {.targets = slots()});
  ASSERT_EQ(result.looks.size(), 2u);
  EXPECT_EQ(result.looks[0].variant, std::nullopt);
  EXPECT_EQ(result.looks[1].variant, std::optional<std::string>("bold"));
  EXPECT_EQ(result.looks[1].summary.directory, (exports() / "variants/bold").string());
  EXPECT_TRUE(fs::exists(exports() / "variants/bold/ios/ios.iphone-6.9/en-US/01-one.png"));
  EXPECT_TRUE(fs::exists(exports() / "ios/ios.iphone-6.9/en-US/01-one.png"));
  EXPECT_EQ(result.removed, std::vector<std::string>{(gone / "ios/ios.iphone-6.9/en-US/01-one.png").string()});
  EXPECT_FALSE(fs::exists(gone));
  EXPECT_TRUE(fs::exists(exports() / "variants/mine/keep.txt"));

  // The variant lists only the issues the base doesn't also have.
  std::set<std::string> baseIssues;
  for (const auto& issue : result.looks[0].summary.issues) baseIssues.insert(issue.description());
  ASSERT_FALSE(baseIssues.empty());  // a one-slide set always draws advice
  for (const auto& issue : result.looks[1].summary.issues) EXPECT_EQ(baseIssues.count(issue.description()), 0u);
}

TEST_F(ExporterTest, LooksExportPutsTheBaseWhereAskedAndEveryVariantInThePackage) {
  Project base = project({"one"}, "", R"(["en-US"])");
  Project look = base;
  look.slides[0].headline = LocalizedText{{{"en-US", "Bolder words"}}};
  const fs::path mine = folder_.path() / "shots";
  auto result = exporter_.exportLooks(base.savingLook("bold", look), store_, {.targets = slots(), .into = mine});
  ASSERT_EQ(result.looks.size(), 2u);
  EXPECT_EQ(result.looks[0].summary.directory, mine.string());
  EXPECT_TRUE(fs::exists(mine / "ios/ios.iphone-6.9/en-US/01-one.png"));
  EXPECT_FALSE(fs::exists(exports() / "ios"));
  EXPECT_EQ(result.looks[1].summary.directory, (exports() / "variants/bold").string());
  EXPECT_TRUE(fs::exists(exports() / "variants/bold/ios/ios.iphone-6.9/en-US/01-one.png"));
}

TEST_F(ExporterTest, ReportsProgressAfterEveryFileOneCallAtATime) {
  std::vector<ExportProgress> reports;
  exporter_.reportingProgress([&](const ExportProgress& progress) { reports.push_back(progress); });
  auto summary = run(project({"one", "two"}));
  ASSERT_EQ(reports.size(), summary.files.size());
  std::set<std::string> reported;
  for (size_t i = 0; i < reports.size(); ++i) {
    EXPECT_EQ(reports[i].finished, i + 1);
    EXPECT_EQ(reports[i].files, summary.files.size());
    EXPECT_EQ(reports[i].look, 0u);
    EXPECT_EQ(reports[i].looks, 1u);
    reported.insert((exports() / reports[i].file).string());
  }
  EXPECT_EQ(reported, std::set<std::string>(summary.files.begin(), summary.files.end()));
}

// A package whose export folders turn into links to a folder outside it while an export runs, at
// a moment the export's own progress reports tell; the folder outside holds a canary file.
class ExporterLinkTest : public ExporterTest {
 protected:
  ExporterLinkTest() {
    fs::create_directories(outside());
    std::ofstream(outside() / "canary.txt") << "untouched";
  }

  fs::path outside() const { return folder_.path() / "outside"; }

  // `relative` of the package moves aside to "<relative>-looked-at", and a link to outside takes
  // its name.
  void swapForALink(const fs::path& relative) const {
    fs::rename(store_.root() / relative, store_.root() / (relative.string() + "-looked-at"));
    fs::create_directory_symlink(outside(), store_.root() / relative);
  }

  // Swaps `relative` once, at the first progress report that `when` accepts.
  void swapAt(const fs::path& relative, std::function<bool(const ExportProgress&)> when) {
    exporter_.reportingProgress([this, relative, when, swapped = false](const ExportProgress& progress) mutable {
      if (swapped || !when(progress)) return;
      swapForALink(relative);
      swapped = true;
    });
  }

  // Only the canary outside, with its bytes.
  void expectOutsideUntouched() const {
    std::ifstream in(outside() / "canary.txt");
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), "untouched");
    for (const auto& entry : fs::directory_iterator(outside()))
      EXPECT_EQ(entry.path().filename(), "canary.txt") << "written outside the package: " << entry.path();
  }

  std::string linkRefusal(const fs::path& relative) const {
    return "The folder " + (store_.root() / relative).string() +
           " is a symbolic link. Vorno writes only inside the package and never through a link: make it a real "
           "folder, or remove it, and try again.";
  }

  // What the run threw, or "" when it didn't.
  std::string runError(const Project& p, const std::vector<StoreTarget>& targets) {
    try {
      run(p, std::vector<std::string>{"en-US"}, targets);
    } catch (const VornoError& error) {
      return error.message();
    }
    return "";
  }
};

TEST_F(ExporterLinkTest, ExportsFolderSwappedForALinkBeforeTheManifestIsRewrittenIsRefusedAndNothingLandsOutside) {
  // The last picture is written; the manifest's final rewrite comes next.
  swapAt("exports", [](const ExportProgress& progress) { return progress.finished == progress.files; });
  EXPECT_EQ(runError(project({"one"}), {small(StoreTarget::iphone69())}), linkRefusal("exports"));
  expectOutsideUntouched();
  // The picture and the manifest that announced it stay in the folder that was looked at.
  const fs::path lookedAt = store_.root() / "exports-looked-at";
  EXPECT_TRUE(fs::exists(lookedAt / "ios/ios.iphone-6.9/en-US/01-one.png"));
  ASSERT_EQ(ExportManifest::read(lookedAt).files.size(), 1u);
  EXPECT_EQ(ExportManifest::read(lookedAt).files[0].path, "ios/ios.iphone-6.9/en-US/01-one.png");
}

TEST_F(ExporterLinkTest, VideoFolderSwappedForALinkWhileItEncodesKeepsTheVideoInTheFolderLookedAt) {
  ASSERT_TRUE(testing::ffprobeAvailable()) << "ffprobe is installed by scripts/setup.sh";
  swapAt("exports/ios/ios.header/en-US", [](const ExportProgress& progress) { return progress.encoding; });
  EXPECT_EQ(runError(project({}, movingHeader), {small(StoreTarget::appStoreHeader(), 20)}), "");
  expectOutsideUntouched();
  const fs::path lookedAt = exports() / "ios/ios.header/en-US-looked-at";
  testing::VideoProbe video = testing::probeVideo((lookedAt / "wave.mp4").string());
  ASSERT_TRUE(video.error.empty()) << video.error;
  EXPECT_EQ(video.frameCount, 8 * 30);
  for (const auto& entry : fs::directory_iterator(lookedAt))
    EXPECT_FALSE(entry.path().filename().string().starts_with(".")) << "left behind: " << entry.path();
}

}  // namespace
}  // namespace vorno::exporter_test
