#include "kit/util/read_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <fstream>
#include <future>

#include "tests/hang_guard.h"
#include "tests/temp_folder.h"

namespace vorno::read_file_test {
namespace {

namespace fs = std::filesystem;

TEST(ReadFile, RegularFileIsReadWholeBytesAsTheyAre) {
  testing::TempFolder folder("vorno-read");
  const std::string bytes("a\0b\r\n\xff", 6);
  std::ofstream(folder.path() / "f.bin", std::ios::binary) << bytes;
  EXPECT_EQ(readRegularFile(folder.path() / "f.bin"), bytes);
}

TEST(ReadFile, MissingFileIsNothingWithENOENT) {
  testing::TempFolder folder("vorno-read");
  EXPECT_EQ(readRegularFile(folder.path() / "gone"), std::nullopt);
  EXPECT_EQ(errno, ENOENT);
}

TEST(ReadFile, FolderIsNothingWithEISDIR) {
  testing::TempFolder folder("vorno-read");
  EXPECT_EQ(readRegularFile(folder.path()), std::nullopt);
  EXPECT_EQ(errno, EISDIR);
}

TEST(ReadFile, NamedPipeWithNoWriterIsRefusedAtOnceInsteadOfWaited) {
  testing::TempFolder folder("vorno-read");
  const fs::path pipe = folder.path() / "pipe";
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  auto reading = std::async(std::launch::async, [&] {
    auto bytes = readRegularFile(pipe);
    return std::pair{bytes, errno};
  });
  if (reading.wait_for(testing::hangGuard) != std::future_status::ready) {
    std::ofstream release(pipe);  // gives the stuck reader its writer, so the test can end
    FAIL() << "reading a named pipe waited for a writer";
  }
  auto [bytes, error] = reading.get();
  EXPECT_EQ(bytes, std::nullopt);
  EXPECT_EQ(error, EINVAL);
  EXPECT_EQ(whyNotRead(error), "it is a named pipe or a device, not a file");
}

}  // namespace
}  // namespace vorno::read_file_test
