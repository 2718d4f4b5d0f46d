#include "kit/text/font_config.h"
#include "kit/text/font_resolver.h"
#include "kit/text/laid_text.h"
#include "kit/text/text_layout.h"
#include "tests/temp_folder.h"
#include "tests/thread_waits.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <cstring>
#include <fstream>
#include <iterator>

namespace vorno::font_registry_test {
namespace {

namespace fs = std::filesystem;

constexpr const char* kSource = "/usr/share/fonts/opentype/inter/Inter-Bold.otf";

uint32_t be32(const std::vector<uint8_t>& b, size_t at) {
  return uint32_t(b[at]) << 24 | uint32_t(b[at + 1]) << 16 | uint32_t(b[at + 2]) << 8 | b[at + 3];
}
uint16_t be16(const std::vector<uint8_t>& b, size_t at) { return uint16_t(b[at] << 8 | b[at + 1]); }

void replaceAll(std::vector<uint8_t>& bytes, size_t from, size_t to, const std::vector<uint8_t>& old,
                const std::vector<uint8_t>& fresh) {
  for (size_t i = from; i + old.size() <= to; ++i) {
    if (std::equal(old.begin(), old.end(), bytes.begin() + static_cast<long>(i))) {
      std::copy(fresh.begin(), fresh.end(), bytes.begin() + static_cast<long>(i));
    }
  }
}

/// Inter Bold with "Inter" renamed to `family` (five letters) in its name table: a face no
/// system has, for registration tests. The checksums go stale; font loaders don't check them.
std::vector<uint8_t> renamedFont(const std::string& family) {
  std::ifstream in(kSource, std::ios::binary);
  std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (bytes.size() < 12 || family.size() != 5) return {};
  uint16_t tables = be16(bytes, 4);
  for (uint16_t t = 0; t < tables; ++t) {
    size_t record = 12 + 16u * t;
    if (std::memcmp(&bytes[record], "name", 4) != 0) continue;
    size_t offset = be32(bytes, record + 8), length = be32(bytes, record + 12);
    std::vector<uint8_t> ascii(family.begin(), family.end()), utf16, oldUtf16;
    std::string old = "Inter";
    for (size_t i = 0; i < 5; ++i) {
      utf16.insert(utf16.end(), {0, uint8_t(family[i])});
      oldUtf16.insert(oldUtf16.end(), {0, uint8_t(old[i])});
    }
    replaceAll(bytes, offset, offset + length, std::vector<uint8_t>(old.begin(), old.end()), ascii);
    replaceAll(bytes, offset, offset + length, oldUtf16, utf16);
  }
  return bytes;
}

std::string package(testing::TempFolder& folder, const std::string& family, const std::string& file) {
  fs::create_directories(folder.path() / "fonts");
  testing::writeBytes((folder.path() / "fonts" / file).string(), renamedFont(family));
  return folder.path().string();
}

TEST(FontRegistry, RegisteredFontIsFoundAsAProjectFont) {
  testing::TempFolder folder("vorno-fonts");
  std::string root = package(folder, "Vnter", "Vnter-Bold.otf");
  EXPECT_EQ(TextLayout::fontSource("Vnter", root), FontSource::missing);
  FontRegistry::registerFonts(root);
  EXPECT_EQ(TextLayout::fontSource("Vnter", root), FontSource::project);
  EXPECT_EQ(TextLayout::fontSource("vnter", root), FontSource::project);
  EXPECT_FALSE(FontResolver::resolve(std::string("Vnter"), FontWeight::bold, 80).isSystem);

  TextLayout::Style style;
  style.size = 80;
  style.weight = FontWeight::bold;
  style.family = "Vnter";
  LaidText laid(TextLayout::attributed("Project", style), 1000);
  EXPECT_EQ(laid.faceFamilyAt(0), "Vnter");
}

TEST(FontRegistry, UnchangedFilesAreNotRegisteredAgain) {
  testing::TempFolder folder("vorno-fonts");
  std::string root = package(folder, "Unter", "Unter.OTF");
  testing::writeBytes(folder.file("fonts/readme.txt"), {'h', 'i'});
  FontRegistry::registerFonts(root);
  uint64_t generation = FontConfig::current().generation;
  FontRegistry::registerFonts(root);
  EXPECT_EQ(FontConfig::current().generation, generation);
  EXPECT_EQ(TextLayout::fontSource("Unter", root), FontSource::project);
}

TEST(FontRegistry, ChangedFileIsRegisteredAgain) {
  testing::TempFolder folder("vorno-fonts");
  std::string root = package(folder, "Xnter", "Brand.otf");
  FontRegistry::registerFonts(root);
  EXPECT_EQ(TextLayout::fontSource("Xnter", root), FontSource::project);
  EXPECT_EQ(TextLayout::fontSource("Ynter", root), FontSource::missing);

  std::string file = folder.file("fonts/Brand.otf");
  auto before = fs::last_write_time(file);
  testing::writeBytes(file, renamedFont("Ynter"));
  fs::last_write_time(file, before + std::chrono::seconds(2));
  FontRegistry::registerFonts(root);
  EXPECT_EQ(TextLayout::fontSource("Ynter", root), FontSource::project);
}

TEST(FontRegistry, AnotherPackagesFontIsLocal) {
  testing::TempFolder first("vorno-fonts"), second("vorno-fonts");
  std::string root = package(first, "Lnter", "Lnter.otf");
  FontRegistry::registerFonts(root);
  fs::create_directories(second.path() / "fonts");
  EXPECT_EQ(TextLayout::fontSource("Lnter", second.path().string()), FontSource::local);
}

TEST(FontRegistry, MissingFontsFolderRegistersNothing) {
  testing::TempFolder folder("vorno-fonts");
  uint64_t generation = FontConfig::current().generation;
  FontRegistry::registerFonts(folder.path().string());
  FontRegistry::registerFonts((folder.path() / "absent").string());
  EXPECT_EQ(FontConfig::current().generation, generation);
}

TEST(FontRegistry, ProjectFontPathsResolveSymlinks) {
  testing::TempFolder folder("vorno-fonts");
  fs::create_directories(folder.path() / "real" / "fonts");
  fs::create_directories(folder.path() / "real" / "fonts-extra");
  fs::create_symlink(folder.path() / "real", folder.path() / "link");
  std::string real = (folder.path() / "real").string(), link = (folder.path() / "link").string();
  testing::writeBytes(real + "/fonts/a.ttf", {0});
  EXPECT_TRUE(FontRegistry::isProjectFont(link + "/fonts/a.ttf", real));
  EXPECT_TRUE(FontRegistry::isProjectFont(real + "/fonts/a.ttf", link));
  EXPECT_FALSE(FontRegistry::isProjectFont(real + "/fonts-extra/a.ttf", real));
  EXPECT_FALSE(FontRegistry::isProjectFont("/usr/share/fonts/opentype/inter/Inter-Bold.otf", real));
}

TEST(FontRegistry, RegistrationWhileOtherThreadsLayText) {
  testing::TempFolder folder("vorno-fonts");
  std::string root = package(folder, "Tnter", "Tnter.otf");
  TextLayout::Style style;
  style.size = 60;
  style.weight = FontWeight::bold;
  style.family = "Tnter";
  std::atomic<bool> registered{false};
  std::atomic<int> layingOut{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      // Until registration the family falls back to the system font; once it is done, every
      // thread's next layout uses the package's face. Each thread lays text before the
      // registration starts and goes on through it until it has laid 50 after it.
      int afterwards = 0;
      for (int i = 0; afterwards < 50; ++i) {
        bool after = registered.load();
        LaidText laid(TextLayout::attributed("Concurrent " + std::to_string(i), style), 800);
        EXPECT_EQ(laid.lines().size(), 1u);
        if (i == 0) layingOut.fetch_add(1);
        if (after) {
          EXPECT_EQ(laid.faceFamilyAt(0), "Tnter");
          ++afterwards;
        }
      }
    });
  }
  EXPECT_TRUE(testing::pollUntil([&] { return layingOut.load() == 4; }));
  FontRegistry::registerFonts(root);
  registered = true;
  for (auto& thread : threads) thread.join();
  LaidText laid(TextLayout::attributed("After", style), 800);
  EXPECT_EQ(laid.faceFamilyAt(0), "Tnter");
}

TEST(FontSource, SanFranciscoIsTheSystemFontWithoutAnyLookup) {
  uint64_t before = FontResolver::queryCount();
  EXPECT_EQ(TextLayout::fontSource("San Francisco", "/nonexistent"), FontSource::system);
  EXPECT_EQ(TextLayout::fontSource("SF Pro", "/nonexistent"), FontSource::system);
  EXPECT_EQ(FontResolver::queryCount(), before);
}

TEST(FontSource, InstalledFamiliesAreSystemAndUnknownOnesMissing) {
  EXPECT_EQ(TextLayout::fontSource("Inter", "/nonexistent"), FontSource::system);
  EXPECT_EQ(TextLayout::fontSource("Noto Sans", "/nonexistent"), FontSource::system);
  EXPECT_EQ(TextLayout::fontSource("Definitely Not A Font", "/nonexistent"), FontSource::missing);
}

}  // namespace
}  // namespace vorno::font_registry_test
