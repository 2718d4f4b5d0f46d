#include "kit/store/file_project_store.h"

#include "kit/model/coding.h"
#include "kit/model/project.h"
#include "kit/model/project_json.h"
#include "kit/util/sha256.h"
#include "kit/util/vorno_error.h"
#include "tests/read_text.h"
#include "tests/run_process.h"

#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <sstream>
#include <thread>

namespace vorno::file_project_store_test {
namespace {

namespace fs = std::filesystem;

void writeText(const fs::path& path, const std::string& text) {
  fs::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << text;
}

ino_t inodeOf(const fs::path& path) {
  struct stat info {};
  EXPECT_EQ(::stat(path.c_str(), &info), 0) << path;
  return info.st_ino;
}

// The VornoError a body throws; fails the test when it throws none.
std::optional<VornoError> errorOf(const std::function<void()>& body) {
  try {
    body();
  } catch (const VornoError& error) {
    return error;
  }
  ADD_FAILURE() << "no VornoError";
  return std::nullopt;
}

Project sampleProject() {
  Project project;
  project.appName = "Tide";
  project.locales = {"en-US", "de-DE"};
  project.targets = {"ios.iphone-6.9"};
  Slide slide;
  slide.id = "home";
  project.slides.push_back(slide);
  return project;
}

// Every test gets its own folder and its own caches folder, so no lock file lands in ~/.cache.
class FileProjectStoreTest : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_ = testing::makeTempFolder("vorno-store");
    if (const char* old = std::getenv("XDG_CACHE_HOME")) oldCaches_ = old;
    setenv("XDG_CACHE_HOME", (folder_ / "caches").c_str(), 1);
    root_ = folder_ / "App.vorno";
  }
  void TearDown() override {
    if (oldCaches_) setenv("XDG_CACHE_HOME", oldCaches_->c_str(), 1);
    else unsetenv("XDG_CACHE_HOME");
    FileProjectStore::flockCall = ::flock;
    fs::remove_all(folder_);
  }

  // The sample document as JSON, to be bent into shapes the tests need.
  Json sampleJSON() const { return parseJSON(FileProjectStore::encode(sampleProject())); }
  void writeProjectJSON(const Json& json) const { writeText(root_ / "project.json", json.dump(2)); }

  fs::path folder_;
  fs::path root_;
  std::optional<std::string> oldCaches_;
};

// ---- The document ----

TEST_F(FileProjectStoreTest, SchemaThreeLoadsAndFirstChangeRewritesItWithFive) {
  Json json = sampleJSON();
  json["schemaVersion"] = 3;
  writeProjectJSON(json);
  FileProjectStore store(root_);
  EXPECT_EQ(store.load().schemaVersion, 3);
  store.modify([](Project& p) { p.appName = "Tide 2"; });
  Json written = parseJSON(testing::readText(store.project()));
  EXPECT_EQ(written["schemaVersion"], 5);
  EXPECT_EQ(written["appName"], "Tide 2");
  EXPECT_EQ(store.load().schemaVersion, 5);
}

TEST_F(FileProjectStoreTest, SchemaSixIsRefusedNamingSixAndFive) {
  Json json = sampleJSON();
  json["schemaVersion"] = 6;
  writeProjectJSON(json);
  auto error = errorOf([&] { FileProjectStore(root_).load(); });
  ASSERT_TRUE(error);
  EXPECT_EQ(error->kind(), VornoError::Kind::invalid);
  EXPECT_EQ(error->message(), "Project schema 6 is newer than this Vorno (5). Update Vorno.");
}

TEST_F(FileProjectStoreTest, SchemaFromTheFutureThatDoesNotDecodeReportsTheInvalidDocument) {
  Json json = sampleJSON();
  json["schemaVersion"] = 9;
  json.erase("appName");
  auto error = errorOf([&] { FileProjectStore::decode(json.dump()); });
  ASSERT_TRUE(error);
  EXPECT_EQ(error->message(), "project.json is invalid: missing appName");
}

TEST_F(FileProjectStoreTest, ModifyThatChangesNothingKeepsModificationTime) {
  FileProjectStore store(root_);
  store.create(sampleProject());
  // A time long past, so that a rewrite now would show in it whatever the clock's resolution.
  const auto before = fs::file_time_type::clock::now() - std::chrono::hours(24);
  fs::last_write_time(store.project(), before);
  ino_t inode = inodeOf(store.project());
  std::string bytes = testing::readText(store.project());
  int result = store.modify([](Project& p) {
    p.appName = "changed";
    p.appName = "Tide";  // back to what it was: no change by equality
    return 7;
  });
  EXPECT_EQ(result, 7);
  EXPECT_EQ(fs::last_write_time(store.project()), before);
  EXPECT_EQ(inodeOf(store.project()), inode);
  EXPECT_EQ(testing::readText(store.project()), bytes);
}

TEST_F(FileProjectStoreTest, ModifyThatChangesNothingKeepsUnknownFields) {
  Json json = sampleJSON();
  json["futureField"] = "kept";
  writeProjectJSON(json);
  FileProjectStore store(root_);
  store.modify([](Project&) {});
  EXPECT_EQ(parseJSON(testing::readText(store.project()))["futureField"], "kept");
}

TEST_F(FileProjectStoreTest, SavingTwiceGivesByteIdenticalFiles) {
  FileProjectStore store(root_);
  std::string first = store.save(sampleProject());
  std::string firstFile = testing::readText(store.project());
  std::string second = store.save(sampleProject());
  EXPECT_EQ(first, second);
  EXPECT_EQ(firstFile, testing::readText(store.project()));
  EXPECT_EQ(first, firstFile);
}

TEST_F(FileProjectStoreTest, SaveWritesPrettySortedDocumentWithOneFinalNewline) {
  Project project = sampleProject();
  project.appName = "Tide/Pro";
  project.schemaVersion = 2;
  FileProjectStore store(folder_ / "new" / "deeper" / "App.vorno");
  std::string bytes = store.save(project);
  EXPECT_EQ(project.schemaVersion, 2);  // the caller's value is left alone
  EXPECT_EQ(bytes, testing::readText(store.project()));
  EXPECT_TRUE(bytes.starts_with("{\n  \"appName\": \"Tide/Pro\",\n")) << bytes;
  EXPECT_TRUE(bytes.ends_with("}\n") && !bytes.ends_with("\n\n"));
  EXPECT_NE(bytes.find("\n  \"schemaVersion\": 5"), std::string::npos);
  EXPECT_LT(bytes.find("\"locales\""), bytes.find("\"schemaVersion\""));
  Project loaded = store.load();
  project.schemaVersion = 5;
  EXPECT_EQ(loaded, project);
}

TEST_F(FileProjectStoreTest, FailedSaveLeavesPreviousFileIntactAndNoTemporary) {
  FileProjectStore store(root_);
  store.save(sampleProject());
  std::string before = testing::readText(store.project());
  Project big = sampleProject();
  big.appName = std::string(100000, 'x');
  // A file size limit makes the write itself fail part way, as a full disk would.
  auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
  rlimit oldLimit{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &oldLimit), 0);
  rlimit small = oldLimit;
  small.rlim_cur = 4096;
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  auto error = errorOf([&] { store.save(big); });
  setrlimit(RLIMIT_FSIZE, &oldLimit);
  std::signal(SIGXFSZ, oldHandler);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->kind(), VornoError::Kind::io);
  EXPECT_EQ(error->message(), "Couldn't write " + store.project().string() + ": File too large.");
  EXPECT_EQ(testing::readText(store.project()), before);
  size_t entries = 0;
  for ([[maybe_unused]] const auto& entry : fs::directory_iterator(root_)) ++entries;
  EXPECT_EQ(entries, 1u);
}

// ---- Failures, one sentence each ----

TEST_F(FileProjectStoreTest, LoadWithoutProjectIsNotFound) {
  auto error = errorOf([&] { FileProjectStore(root_).load(); });
  ASSERT_TRUE(error);
  EXPECT_EQ(error->kind(), VornoError::Kind::notFound);
  EXPECT_EQ(error->message(), "No project at " + root_.string() + ". Create one with project_create.");
}

TEST_F(FileProjectStoreTest, ModifyWithoutProjectIsNotFoundAndCreatesNothing) {
  bool ran = false;
  auto error = errorOf([&] { FileProjectStore(root_).modify([&](Project&) { ran = true; }); });
  ASSERT_TRUE(error);
  EXPECT_EQ(error->kind(), VornoError::Kind::notFound);
  EXPECT_EQ(error->message(), "No project at " + root_.string() + ". Create one with project_create.");
  EXPECT_FALSE(ran);
  EXPECT_FALSE(fs::exists(root_));
}

TEST_F(FileProjectStoreTest, CreateOverExistingProjectIsInvalid) {
  FileProjectStore store(root_);
  store.create(sampleProject());
  Project other = sampleProject();
  other.appName = "Other";
  auto error = errorOf([&] { store.create(other); });
  ASSERT_TRUE(error);
  EXPECT_EQ(error->kind(), VornoError::Kind::invalid);
  EXPECT_EQ(error->message(), "A project already exists at " + root_.string() + ".");
  EXPECT_EQ(store.load().appName, "Tide");
}

TEST_F(FileProjectStoreTest, MissingHeadlineNamesKeyAndPath) {
  Json json = sampleJSON();
  json["slides"][0].erase("headline");
  auto error = errorOf([&] { FileProjectStore::decode(json.dump()); });
  ASSERT_TRUE(error);
  EXPECT_EQ(error->kind(), VornoError::Kind::invalid);
  EXPECT_EQ(error->message(), "project.json is invalid: missing headline at .slides[0]");
}

TEST_F(FileProjectStoreTest, TypeMismatchNamesExpectedTypeAndPath) {
  Json json = sampleJSON();
  json["appName"] = 3;
  auto error = errorOf([&] { FileProjectStore::decode(json.dump()); });
  ASSERT_TRUE(error);
  EXPECT_EQ(error->message(), "project.json is invalid: expected String at .appName");
}

TEST_F(FileProjectStoreTest, TextThatIsNotJSONIsInvalid) {
  writeText(root_ / "project.json", "{ \"appName\": ");
  auto error = errorOf([&] { FileProjectStore(root_).load(); });
  ASSERT_TRUE(error);
  EXPECT_EQ(error->kind(), VornoError::Kind::invalid);
  EXPECT_TRUE(error->message().starts_with("project.json is invalid: The given data was not valid JSON"))
      << error->message();
}

TEST_F(FileProjectStoreTest, FolderInPlaceOfProjectJsonIsOneIoSentence) {
  fs::create_directories(root_ / "project.json");
  FileProjectStore store(root_);
  std::string expected = "Couldn't read " + store.project().string() + ": Is a directory.";
  auto error = errorOf([&] { store.load(); });
  ASSERT_TRUE(error);
  EXPECT_EQ(error->kind(), VornoError::Kind::io);
  EXPECT_EQ(error->message(), expected);
  error = errorOf([&] { store.modify([](Project& p) { p.appName = "x"; }); });
  ASSERT_TRUE(error);
  EXPECT_EQ(error->message(), expected);
}

TEST_F(FileProjectStoreTest, LockFileThatCannotBeOpenedIsIoNamingIt) {
  FileProjectStore store(root_);
  store.create(sampleProject());
  fs::create_directories(store.lockFile());  // a folder where the lock file should be
  bool ran = false;
  auto error = errorOf([&] { store.withLock([&] { ran = true; }); });
  ASSERT_TRUE(error);
  EXPECT_EQ(error->kind(), VornoError::Kind::io);
  EXPECT_EQ(error->message(), "Couldn't open " + store.lockFile().string() + ": Is a directory.");
  EXPECT_FALSE(ran);
}

TEST_F(FileProjectStoreTest, LockThatCannotBeTakenIsIoNamingPackageFolder) {
  FileProjectStore store(root_);
  store.create(sampleProject());
  FileProjectStore::flockCall = [](int, int) {
    errno = ENOLCK;
    return -1;
  };
  bool ran = false;
  auto error = errorOf([&] { store.modify([&](Project& p) { ran = true, p.appName = "x"; }); });
  FileProjectStore::flockCall = ::flock;
  ASSERT_TRUE(error);
  EXPECT_EQ(error->kind(), VornoError::Kind::io);
  EXPECT_EQ(error->message(), "Couldn't lock App.vorno: No locks available.");
  EXPECT_FALSE(ran);
  EXPECT_EQ(store.load().appName, "Tide");
}

int interruptions = 0;

TEST_F(FileProjectStoreTest, InterruptedLockIsRetried) {
  FileProjectStore store(root_);
  store.create(sampleProject());
  interruptions = 0;
  FileProjectStore::flockCall = [](int fd, int operation) {
    if (operation == LOCK_EX && interruptions < 2) {
      ++interruptions;
      errno = EINTR;
      return -1;
    }
    return ::flock(fd, operation);
  };
  std::string name = store.modify([](Project& p) { return p.appName = "Retried"; });
  FileProjectStore::flockCall = ::flock;
  EXPECT_EQ(interruptions, 2);
  EXPECT_EQ(name, "Retried");
  EXPECT_EQ(store.load().appName, "Retried");
}

// ---- Modifying and locking ----

TEST_F(FileProjectStoreTest, ModifyReadsTheFileOnDiskEveryTime) {
  FileProjectStore store(root_);
  store.create(sampleProject());
  store.modify([](Project& p) { p.appName = "First"; });
  FileProjectStore other(folder_ / "." / "App.vorno" / "");  // another writer, another spelling
  other.save([&] {
    Project p = sampleProject();
    p.locales = {"fr-FR"};
    return p;
  }());
  auto locales = store.modify([](Project& p) {
    p.appName = "Second";
    return p.locales;
  });
  EXPECT_EQ(locales, std::vector<std::string>{"fr-FR"});
  EXPECT_EQ(store.load().appName, "Second");
}

TEST_F(FileProjectStoreTest, ModifyBodyThatThrowsWritesNothing) {
  FileProjectStore store(root_);
  store.create(sampleProject());
  ino_t inode = inodeOf(store.project());
  EXPECT_THROW(store.modify([](Project& p) {
    p.appName = "half done";
    throw VornoError::invalid("No such slide.");
  }),
               VornoError);
  EXPECT_EQ(inodeOf(store.project()), inode);
  EXPECT_EQ(store.load().appName, "Tide");
  // The lock was released: the next writer gets it.
  store.modify([](Project& p) { p.appName = "after"; });
  EXPECT_EQ(store.load().appName, "after");
}

TEST_F(FileProjectStoreTest, LockFileIsNamedAfterDigestOfRealPath) {
  fs::create_directories(root_);
  fs::create_directory_symlink(root_, folder_ / "Link.vorno");
  char* real = ::realpath(root_.c_str(), nullptr);
  ASSERT_NE(real, nullptr);
  std::string digits = hexDigits(sha256(real), 16);
  std::free(real);
  fs::path expected = folder_ / "caches" / "app.vorno" / "locks" / (digits + ".lock");
  EXPECT_EQ(digits.size(), 32u);
  EXPECT_EQ(FileProjectStore(root_).lockFile(), expected);
  EXPECT_EQ(FileProjectStore(folder_ / "Link.vorno").lockFile(), expected);
  EXPECT_NE(FileProjectStore(folder_ / "Other.vorno").lockFile(), expected);
  // A folder that does not exist yet is hashed as it stands.
  fs::path missing = folder_ / "Missing.vorno";
  EXPECT_EQ(FileProjectStore(missing).lockFile().filename(), hexDigits(sha256(missing.string()), 16) + ".lock");
}

// True when another descriptor could take the lock right now.
bool lockIsFree(const fs::path& lockFile) {
  int fd = ::open(lockFile.c_str(), O_RDWR | O_CLOEXEC);
  if (fd < 0) return true;
  bool free = ::flock(fd, LOCK_EX | LOCK_NB) == 0;
  ::close(fd);
  return free;
}

TEST_F(FileProjectStoreTest, WithLockHoldsLockDuringBodyAndReleasesItEvenWhenBodyThrows) {
  FileProjectStore store(root_);
  store.create(sampleProject());
  bool heldInside = false;
  int answer = store.withLock([&] {
    heldInside = !lockIsFree(store.lockFile());
    return 42;
  });
  EXPECT_TRUE(heldInside);
  EXPECT_EQ(answer, 42);
  EXPECT_TRUE(lockIsFree(store.lockFile()));
  EXPECT_THROW(store.withLock([] { throw VornoError::io("boom."); }), VornoError);
  EXPECT_TRUE(lockIsFree(store.lockFile()));
  EXPECT_TRUE(fs::exists(store.lockFile()));  // the lock file itself stays
  EXPECT_FALSE(fs::exists(root_ / ".lock"));  // and nothing lands in the package
}

TEST_F(FileProjectStoreTest, LinkedSpellingOfPackageSharesTheLock) {
  FileProjectStore store(root_);
  store.create(sampleProject());
  fs::create_directory_symlink(root_, folder_ / "Link.vorno");
  FileProjectStore linked(folder_ / "Link.vorno");
  bool heldForLink = store.withLock([&] { return !lockIsFree(linked.lockFile()); });
  EXPECT_TRUE(heldForLink);
}

// ---- The package ----

TEST_F(FileProjectStoreTest, TwoSpellingsOfOneFolderGiveEqualStores) {
  FileProjectStore a(folder_ / "x" / ".." / "App.vorno" / "");
  FileProjectStore b(root_);
  EXPECT_EQ(a, b);
  EXPECT_EQ(a.root(), root_);
  EXPECT_EQ(a.project(), root_ / "project.json");
  EXPECT_EQ(a.capturesDir(), root_ / "captures");
  EXPECT_EQ(a.rendersDir(), root_ / "renders");
  EXPECT_EQ(a.exportsDir(), root_ / "exports");
}

TEST_F(FileProjectStoreTest, FolderWithoutProjectJsonIsNotAPackage) {
  fs::create_directories(root_ / "captures");
  FileProjectStore store(root_);
  EXPECT_FALSE(store.exists());
  store.save(sampleProject());
  EXPECT_TRUE(store.exists());
}

TEST_F(FileProjectStoreTest, CreateMakesFoldersGitignoreAndDocument) {
  FileProjectStore store(root_);
  store.create(sampleProject());
  EXPECT_TRUE(fs::is_directory(store.capturesDir()));
  EXPECT_TRUE(fs::is_directory(store.rendersDir()));
  EXPECT_TRUE(fs::is_directory(store.exportsDir()));
  EXPECT_FALSE(fs::exists(root_ / "assets"));
  EXPECT_FALSE(fs::exists(root_ / "fonts"));
  EXPECT_EQ(testing::readText(root_ / ".gitignore"), "renders/\nexports/\n.activity.jsonl\n");
  EXPECT_EQ(store.load(), sampleProject());
}

TEST_F(FileProjectStoreTest, GitignoreRendersWithTrailingBlanksCountsButExportsWithoutSlashDoesNot) {
  writeText(root_ / ".gitignore", "renders/   \t\nexports\n");
  FileProjectStore(root_).ignoreGeneratedFiles();
  EXPECT_EQ(testing::readText(root_ / ".gitignore"), "renders/   \t\nexports\nexports/\n.activity.jsonl\n");
}

TEST_F(FileProjectStoreTest, GitignoreWithoutFinalNewlineGetsOneBeforeAppendedLines) {
  writeText(root_ / ".gitignore", "*.tmp");
  FileProjectStore(root_).ignoreGeneratedFiles();
  EXPECT_EQ(testing::readText(root_ / ".gitignore"), "*.tmp\nrenders/\nexports/\n.activity.jsonl\n");
}

TEST_F(FileProjectStoreTest, CompleteGitignoreIsNotRewritten) {
  writeText(root_ / ".gitignore", "  .activity.jsonl\r\n\r\nexports/\r\nrenders/");
  ino_t inode = inodeOf(root_ / ".gitignore");
  FileProjectStore(root_).ignoreGeneratedFiles();
  EXPECT_EQ(inodeOf(root_ / ".gitignore"), inode);
  EXPECT_EQ(testing::readText(root_ / ".gitignore"), "  .activity.jsonl\r\n\r\nexports/\r\nrenders/");
}

TEST_F(FileProjectStoreTest, MissingGitignoreGetsAllThreeLines) {
  fs::create_directories(root_);
  FileProjectStore(root_).ignoreGeneratedFiles();
  EXPECT_EQ(testing::readText(root_ / ".gitignore"), "renders/\nexports/\n.activity.jsonl\n");
}

TEST_F(FileProjectStoreTest, ImportOfFileInsidePackageCopiesNothingAndReturnsItsPath) {
  FileProjectStore store(root_);
  store.create(sampleProject());
  writeText(root_ / "captures" / "en-US" / "home.png", "png");
  EXPECT_EQ(store.import(root_ / "captures" / "en-US" / "home.png", "assets"), "captures/en-US/home.png");
  EXPECT_EQ(store.import(root_ / "assets" / ".." / "captures" / "en-US" / "home.png", "assets"),
            "captures/en-US/home.png");
  EXPECT_FALSE(fs::exists(root_ / "assets"));
}

TEST_F(FileProjectStoreTest, ImportingLogoTwiceGivesLogoAndLogo2) {
  FileProjectStore store(root_);
  store.create(sampleProject());
  writeText(folder_ / "art" / "logo.png", "first");
  EXPECT_EQ(store.import(folder_ / "art" / "logo.png", "assets"), "assets/logo.png");
  writeText(folder_ / "art" / "logo.png", "second");
  EXPECT_EQ(store.import(folder_ / "art" / "logo.png", "assets"), "assets/logo-2.png");
  EXPECT_EQ(store.import(folder_ / "art" / "logo.png", "assets"), "assets/logo-3.png");
  EXPECT_EQ(testing::readText(root_ / "assets" / "logo.png"), "first");
  EXPECT_EQ(testing::readText(root_ / "assets" / "logo-2.png"), "second");
  EXPECT_EQ(testing::readText(folder_ / "art" / "logo.png"), "second");  // the source stays
}

TEST_F(FileProjectStoreTest, ImportedFileWithoutExtensionGetsNoDot) {
  FileProjectStore store(root_);
  store.create(sampleProject());
  writeText(folder_ / "LICENSE", "text");
  EXPECT_EQ(store.import(folder_ / "LICENSE", "fonts"), "fonts/LICENSE");
  EXPECT_EQ(store.import(folder_ / "LICENSE", "fonts"), "fonts/LICENSE-2");
}

TEST_F(FileProjectStoreTest, SiblingFolderWithRootAsPrefixIsNotInside) {
  FileProjectStore store(root_);
  store.create(sampleProject());
  writeText(folder_ / "App.vorno-old" / "a.png", "a");
  EXPECT_EQ(store.import(folder_ / "App.vorno-old" / "a.png", "assets"), "assets/a.png");
  EXPECT_EQ(testing::readText(root_ / "assets" / "a.png"), "a");
}

TEST_F(FileProjectStoreTest, ImportOfMissingFileNamesItAndMakesNoFolder) {
  FileProjectStore store(root_);
  store.create(sampleProject());
  auto error = errorOf([&] { store.import(folder_ / "nothing.png", "assets"); });
  ASSERT_TRUE(error);
  EXPECT_EQ(error->kind(), VornoError::Kind::io);
  EXPECT_EQ(error->message(), "Couldn't read " + (folder_ / "nothing.png").string() + ": No such file or directory.");
  EXPECT_FALSE(fs::exists(root_ / "assets"));
}

TEST_F(FileProjectStoreTest, CopyReplacingCreatesParentAndReplacesExistingFileWhole) {
  writeText(folder_ / "a.png", "new");
  fs::path destination = folder_ / "out" / "deep" / "a.png";
  FileProjectStore::copyReplacing(folder_ / "a.png", destination);
  EXPECT_EQ(testing::readText(destination), "new");
  writeText(folder_ / "b.png", "newer");
  std::ifstream oldReader(destination, std::ios::binary);  // still sees the old file after the swap
  FileProjectStore::copyReplacing(folder_ / "b.png", destination);
  EXPECT_EQ(testing::readText(destination), "newer");
  std::string old;
  oldReader >> old;
  EXPECT_EQ(old, "new");
  size_t entries = 0;
  for ([[maybe_unused]] const auto& entry : fs::directory_iterator(destination.parent_path())) ++entries;
  EXPECT_EQ(entries, 1u);
}

TEST_F(FileProjectStoreTest, CopyReplacingOntoItselfThroughLinkDoesNothing) {
  writeText(folder_ / "real" / "a.png", "same");
  fs::create_directory_symlink(folder_ / "real", folder_ / "link");
  ino_t inode = inodeOf(folder_ / "real" / "a.png");
  FileProjectStore::copyReplacing(folder_ / "real" / "a.png", folder_ / "link" / "." / "a.png");
  EXPECT_EQ(inodeOf(folder_ / "real" / "a.png"), inode);
  EXPECT_EQ(testing::readText(folder_ / "real" / "a.png"), "same");
}

TEST_F(FileProjectStoreTest, CopyReplacingOntoALinkReplacesTheLinkAndLeavesWhatItPointedAt) {
  writeText(folder_ / "font.ttf", "new");
  writeText(folder_ / "outside.txt", "untouched");
  fs::create_directories(folder_ / "fonts");
  fs::create_symlink(folder_ / "outside.txt", folder_ / "fonts" / "x.ttf");
  FileProjectStore::copyReplacing(folder_ / "font.ttf", folder_ / "fonts" / "x.ttf");
  EXPECT_FALSE(fs::is_symlink(fs::symlink_status(folder_ / "fonts" / "x.ttf")));
  EXPECT_EQ(testing::readText(folder_ / "fonts" / "x.ttf"), "new");
  EXPECT_EQ(testing::readText(folder_ / "outside.txt"), "untouched");
}

TEST_F(FileProjectStoreTest, CopyReplacingThatCannotSwapRemovesTemporaryAndThrows) {
  writeText(folder_ / "a.png", "x");
  fs::create_directories(folder_ / "out" / "a.png" / "inside");
  auto error = errorOf([&] { FileProjectStore::copyReplacing(folder_ / "a.png", folder_ / "out" / "a.png"); });
  ASSERT_TRUE(error);
  EXPECT_EQ(error->kind(), VornoError::Kind::io);
  EXPECT_TRUE(error->message().starts_with("Couldn't write " + (folder_ / "out" / "a.png").string() + ": "))
      << error->message();
  size_t entries = 0;
  for ([[maybe_unused]] const auto& entry : fs::directory_iterator(folder_ / "out")) ++entries;
  EXPECT_EQ(entries, 1u);
  EXPECT_TRUE(fs::is_directory(folder_ / "out" / "a.png" / "inside"));
}

// ---- Finding packages ----

TEST_F(FileProjectStoreTest, ProjectsWithDepthZeroOnAFolderThatIsAPackageReturnsIt) {
  FileProjectStore(root_).save(sampleProject());
  EXPECT_EQ(FileProjectStore::projects(root_ / "", 0), std::vector<fs::path>{root_});
  EXPECT_EQ(FileProjectStore::projects(folder_, 0), std::vector<fs::path>{});
}

TEST_F(FileProjectStoreTest, ProjectsSkipsHiddenVendoredLinkedAndNestedFoldersAndSortsByPath) {
  fs::path search = folder_ / "search";
  auto package = [&](const fs::path& relative) { FileProjectStore(search / relative).save(sampleProject()); };
  package("sub/B.vorno");
  package("A.vorno");
  package("A.vorno/nested.vorno");
  package(".hidden/C.vorno");
  package("node_modules/D.vorno");
  package("build/E.vorno");
  package("Pods/G.vorno");
  package("deep/x/y/F.vorno");
  fs::create_directory_symlink(search / "sub", search / "link");
  writeText(search / "plain.txt", "not a folder");

  EXPECT_EQ(FileProjectStore::projects(search, 1), std::vector<fs::path>{search / "A.vorno"});
  EXPECT_EQ(FileProjectStore::projects(search, 2), (std::vector<fs::path>{search / "A.vorno", search / "sub/B.vorno"}));
  EXPECT_EQ(FileProjectStore::projects(search, 9),
            (std::vector<fs::path>{search / "A.vorno", search / "deep/x/y/F.vorno", search / "sub/B.vorno"}));
}

TEST_F(FileProjectStoreTest, ProjectsInMissingFolderIsEmpty) {
  EXPECT_TRUE(FileProjectStore::projects(folder_ / "nowhere", 3).empty());
}

TEST_F(FileProjectStoreTest, SkippedFoldersAreTheVendoredAndBuildFolders) {
  EXPECT_EQ(FileProjectStore::skippedFolders(),
            (std::set<std::string>{"node_modules", "Pods", "Carthage", "DerivedData", "build", "vendor", "dist"}));
}

}  // namespace
}  // namespace vorno::file_project_store_test
