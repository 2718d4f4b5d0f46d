#include "kit/store/activity_log.h"

#include "kit/model/coding.h"
#include "kit/util/json_output.h"
#include "tests/hang_guard.h"
#include "tests/read_text.h"
#include "tests/run_process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <future>
#include <sstream>
#include <thread>

namespace vorno::activity_log_test {
namespace {

namespace fs = std::filesystem;

void appendText(const fs::path& path, const std::string& text) {
  std::ofstream(path, std::ios::binary | std::ios::app) << text;
}

size_t lineCount(const std::string& text) { return static_cast<size_t>(std::count(text.begin(), text.end(), '\n')); }

ActivityEvent event(const std::string& id, ActivityEvent::Phase phase = ActivityEvent::Phase::started) {
  ActivityEvent e;
  e.id = id;
  e.time = 1767225600.25;
  e.agent = "claude-code";
  e.tool = "render_slide";
  e.phase = phase;
  e.summary = "Rendered home";
  return e;
}

// The line `append` writes for an event.
std::string lineOf(const ActivityEvent& e) { return wireJSON(encodeActivityEvent(e)) + "\n"; }

// A valid event line of exactly `size` bytes, padded in its summary.
std::string lineOfSize(const std::string& id, size_t size) {
  ActivityEvent e = event(id);
  e.summary.clear();
  size_t base = lineOf(e).size();
  e.summary.assign(size - base, 'x');
  return lineOf(e);
}

class ActivityLogTest : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_ = testing::makeTempFolder("vorno-activity");
    root_ = folder_ / "App.vorno";
    fs::create_directories(root_);
    std::ofstream(root_ / "project.json") << "{}";
  }
  void TearDown() override { fs::remove_all(folder_); }

  // Fills the log with valid lines so that it has exactly `size` bytes; returns the line count.
  size_t fillTo(size_t size) {
    const size_t lineSize = 800;
    std::string text;
    size_t lines = 0;
    while (size - text.size() >= 2 * lineSize) {
      text += lineOfSize("fill-" + std::to_string(lines++), lineSize);
    }
    text += lineOfSize("fill-" + std::to_string(lines++), size - text.size());
    EXPECT_EQ(text.size(), size);
    appendText(root_ / ".activity.jsonl", text);
    return lines;
  }

  fs::path folder_;
  fs::path root_;
};

TEST_F(ActivityLogTest, MissingFileGivesNoEventsAndTheSameOffset) {
  ActivityLog log(root_);
  auto batch = log.read(1234);
  EXPECT_TRUE(batch.events.empty());
  EXPECT_EQ(batch.offset, 1234u);
}

TEST_F(ActivityLogTest, EventAppendedToDeletedPackageCreatesNothing) {
  ActivityLog log(root_);
  fs::remove_all(root_);
  log.append(event("a"));
  EXPECT_FALSE(fs::exists(root_));
}

TEST_F(ActivityLogTest, ReadingFromExactSizeGivesNoEventsAndTheSameOffset) {
  ActivityLog log(root_);
  log.append(event("a"));
  log.append(event("a", ActivityEvent::Phase::finished));
  uint64_t size = fs::file_size(log.url());
  auto batch = log.read(size);
  EXPECT_TRUE(batch.events.empty());
  EXPECT_EQ(batch.offset, size);
}

TEST_F(ActivityLogTest, FileOf262145BytesIsCutToItsLast200LinesAtNextAppend) {
  ActivityLog log(root_);
  ActivityEvent last = event("last");
  size_t filled = fillTo(262145 - lineOf(last).size());
  ASSERT_GT(filled + 1, 200u);
  log.append(last);
  std::string text = testing::readText(log.url());
  EXPECT_EQ(lineCount(text), 200u);
  EXPECT_TRUE(text.ends_with(lineOf(last)));
  // The first line kept is the 200th from the end, whole.
  auto events = log.read(0).events;
  ASSERT_EQ(events.size(), 200u);
  EXPECT_EQ(events.front().id, "fill-" + std::to_string(filled - 199));
  EXPECT_EQ(events.back(), last);
}

TEST_F(ActivityLogTest, FileOf262144BytesIsNotCut) {
  ActivityLog log(root_);
  ActivityEvent last = event("last");
  size_t filled = fillTo(262144 - lineOf(last).size());
  log.append(last);
  EXPECT_EQ(fs::file_size(log.url()), 262144u);
  EXPECT_EQ(lineCount(testing::readText(log.url())), filled + 1);
}

TEST_F(ActivityLogTest, LastLineWithoutNewlineIsNotReturnedUntilFinished) {
  ActivityLog log(root_);
  log.append(event("a"));
  std::string half = lineOf(event("b"));
  appendText(log.url(), half.substr(0, 20));
  auto batch = log.read(0);
  ASSERT_EQ(batch.events.size(), 1u);
  EXPECT_EQ(batch.events[0].id, "a");
  EXPECT_EQ(batch.offset, lineOf(event("a")).size());
  // Polling again with only half a line new gives nothing, and the offset stays.
  auto again = log.read(batch.offset);
  EXPECT_TRUE(again.events.empty());
  EXPECT_EQ(again.offset, batch.offset);
  appendText(log.url(), half.substr(20));
  auto finished = log.read(batch.offset);
  ASSERT_EQ(finished.events.size(), 1u);
  EXPECT_EQ(finished.events[0].id, "b");
  EXPECT_EQ(finished.offset, fs::file_size(log.url()));
}

TEST_F(ActivityLogTest, GarbledLineIsSkippedAndItsBytesCountInTheOffset) {
  ActivityLog log(root_);
  log.append(event("a"));
  appendText(log.url(), "{not json at all\n");
  appendText(log.url(), "{\"id\":\"x\"}\n");  // JSON, but not an event
  log.append(event("b"));
  auto batch = log.read(0);
  ASSERT_EQ(batch.events.size(), 2u);
  EXPECT_EQ(batch.events[0].id, "a");
  EXPECT_EQ(batch.events[1].id, "b");
  EXPECT_EQ(batch.offset, fs::file_size(log.url()));
}

TEST_F(ActivityLogTest, AfterCompactionOldOffsetBeyondEndRestartsAtZeroAndSeesUpTo200Events) {
  ActivityLog log(root_);
  fillTo(262000);
  uint64_t oldOffset = log.read(0).offset;
  EXPECT_EQ(oldOffset, 262000u);
  // Tool calls go on until one pushes the file over the limit and it is compacted.
  int calls = 0;
  while (fs::file_size(log.url()) >= oldOffset && calls < 100) log.append(event("call-" + std::to_string(calls++)));
  uint64_t size = fs::file_size(log.url());
  ASSERT_LT(size, oldOffset);
  auto batch = log.read(oldOffset);
  EXPECT_EQ(batch.events.size(), 200u);
  EXPECT_EQ(batch.offset, size);
  EXPECT_EQ(batch.events.back().id, "call-" + std::to_string(calls - 1));
}

TEST_F(ActivityLogTest, EncodingWritesRequiredFieldsAndOnlyPresentOptionals) {
  ActivityEvent e = event("a1", ActivityEvent::Phase::failed);
  e.slide = "home";
  e.error = "No such slide.";
  EXPECT_EQ(wireJSON(encodeActivityEvent(e)),
            R"({"agent":"claude-code","error":"No such slide.","id":"a1","phase":"failed","slide":"home",)"
            R"("summary":"Rendered home","time":1767225600.25,"tool":"render_slide"})");
  EXPECT_EQ(decodeActivityEvent(encodeActivityEvent(e)), e);
}

TEST_F(ActivityLogTest, TimeIsSecondsSince1970AsANumber) {
  ActivityEvent e = event("a");
  e.time = 1700000000;
  Json json = encodeActivityEvent(e);
  EXPECT_TRUE(json["time"].is_number());
  EXPECT_EQ(wireJSON(json["time"]), "1700000000");
  EXPECT_EQ(decodeActivityEvent(parseJSON(R"({"id":"a","time":12.5,"agent":"x","tool":"t","phase":"finished","summary":"s"})")).time,
            12.5);
  double now = ActivityEvent::now();
  EXPECT_GT(now, 1.7e9);
  EXPECT_LT(now, 4.1e9);
}

TEST_F(ActivityLogTest, EventWithoutARequiredFieldOrWithAnUnknownPhaseDoesNotDecode) {
  EXPECT_THROW(decodeActivityEvent(parseJSON(R"({"id":"a","time":1,"agent":"x","tool":"t","phase":"started"})")),
               DecodingError);
  EXPECT_THROW(
      decodeActivityEvent(parseJSON(R"({"id":"a","time":1,"agent":"x","tool":"t","phase":"paused","summary":"s"})")),
      DecodingError);
  EXPECT_THROW(
      decodeActivityEvent(parseJSON(R"({"id":"a","time":"soon","agent":"x","tool":"t","phase":"started","summary":"s"})")),
      DecodingError);
}

TEST_F(ActivityLogTest, PhasesAndComparedLooksHaveTheirWords) {
  EXPECT_EQ(rawValue(ActivityEvent::Phase::started), "started");
  EXPECT_EQ(rawValue(ActivityEvent::Phase::finished), "finished");
  EXPECT_EQ(rawValue(ActivityEvent::Phase::failed), "failed");
  EXPECT_EQ(ActivityEvent::comparedLooks, "Compared the looks");
}

TEST_F(ActivityLogTest, AppendWritesOneLineAndReadReturnsItWithTheNextOffset) {
  ActivityLog log(root_ / "." / "");
  EXPECT_EQ(log.url(), root_ / ".activity.jsonl");
  ActivityEvent e = event("a");
  e.locale = "de-DE";
  e.target = "ios.iphone-6.9";
  log.append(e);
  EXPECT_EQ(testing::readText(log.url()), lineOf(e));
  auto batch = log.read(0);
  ASSERT_EQ(batch.events.size(), 1u);
  EXPECT_EQ(batch.events[0], e);
  EXPECT_EQ(batch.offset, lineOf(e).size());
}

TEST_F(ActivityLogTest, FolderWithoutProjectJSONGetsNoLog) {
  fs::remove(root_ / "project.json");
  ActivityLog log(root_);
  log.append(event("a"));
  EXPECT_FALSE(fs::exists(log.url()));
}

TEST_F(ActivityLogTest, LogThatIsALinkToOutsideIsNotAppendedTo) {
  const fs::path outside = folder_ / "canary.txt";
  std::ofstream(outside) << "untouched";
  fs::create_symlink(outside, root_ / ".activity.jsonl");
  ActivityLog log(root_);
  log.append(event("a"));
  std::ifstream in(outside);
  std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  EXPECT_EQ(text, "untouched");
  EXPECT_TRUE(fs::is_symlink(log.url()));
}

TEST_F(ActivityLogTest, LogThatIsANamedPipeIsNotWaitedOn) {
  // Without a reader, opening a pipe for writing would wait forever; the append must return.
  ASSERT_EQ(::mkfifo((root_ / ".activity.jsonl").c_str(), 0644), 0);
  ActivityLog log(root_);
  auto appending = std::async(std::launch::async, [&] { log.append(event("a")); });
  if (appending.wait_for(testing::hangGuard) != std::future_status::ready) {
    ADD_FAILURE() << "append waited on the pipe";
    // Set it free: a reader lets the open return, and its end of file ends the write.
    int fd = ::open(log.url().c_str(), O_RDONLY | O_NONBLOCK);
    char buffer[4096];
    while (appending.wait_for(std::chrono::milliseconds(50)) != std::future_status::ready)
      while (fd >= 0 && ::read(fd, buffer, sizeof buffer) > 0) {
      }
    if (fd >= 0) ::close(fd);
  }
  appending.get();
  EXPECT_TRUE(fs::is_fifo(log.url()));
}

TEST_F(ActivityLogTest, AppendNeverThrowsWhenTheLogCannotBeWritten) {
  fs::create_directories(root_ / ".activity.jsonl");  // a folder where the file should be
  ActivityLog log(root_);
  EXPECT_NO_THROW(log.append(event("a")));
  EXPECT_TRUE(fs::is_directory(log.url()));
  EXPECT_TRUE(log.read(0).events.empty());
}

TEST_F(ActivityLogTest, LinesFromManyWritersStayWhole) {
  ActivityLog log(root_);
  std::vector<std::thread> writers;
  for (int t = 0; t < 4; ++t)
    writers.emplace_back([&, t] {
      for (int i = 0; i < 50; ++i) log.append(event(std::to_string(t) + "-" + std::to_string(i)));
    });
  for (auto& writer : writers) writer.join();
  auto batch = log.read(0);
  EXPECT_EQ(batch.events.size(), 200u);
  EXPECT_EQ(lineCount(testing::readText(log.url())), 200u);
}

}  // namespace
}  // namespace vorno::activity_log_test
