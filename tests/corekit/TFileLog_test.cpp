#include "perlayer/corekit/TFileLog.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>

#include "perlayer/platform/Files.h"
#include "support/Faults.h"
#include "support/ManualClock.h"
#include "support/TempDir.h"

namespace perlayer {
namespace {

class TFileLogTest : public testing::Test {
 protected:
  static std::string Stamped(const std::string& text) { return "07.01.2023 16:05:09  " + text; }
  // How often `text` stands in what has gone to the standard error stream since the capture began.
  static int Told(const std::string& text) {
    const std::string told = testing::internal::GetCapturedStderr();
    int count = 0;
    for (std::size_t at = told.find(text); at != told.npos; at = told.find(text, at + 1)) ++count;
    return count;
  }

  // The entries of a file without the time before each.
  static std::string Texts(const std::string& path) {
    std::string texts;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) texts += line.substr(19) + "\n";
    return texts;
  }

  TTempDir FDir;
  const std::string FPath = FDir.File("app.log");
  TManualClock* const FClock = InstallManualClock(EncodeDateTime({2023, 1, 7}, {16, 5, 9, 0}));
};

TEST_F(TFileLogTest, OnlyEntriesBeginAtTheLeftEdge) {
  const std::string indent(21, ' ');
  TFileLog log(FPath);
  log.Line("first");
  log.Line("a\r\nb\rc\n07.01.2023 16:05:09  forged");
  log.Line("");
  log.Flush();
  EXPECT_EQ(ReadFile(FPath), Stamped("first\n") + Stamped("a\n") + indent + "b\n" + indent + "c\n" +
                                 indent + "07.01.2023 16:05:09  forged\n" + Stamped("\n"));
}

TEST_F(TFileLogTest, LinesWaitAtMostForASecondOrABlock) {
  {
    TFileLog log(FPath);
    log.Line("one");
    EXPECT_EQ(ReadFileIfThere(FPath).value_or(""), "");
    FClock->Advance(1000);
    log.Line("two");
    EXPECT_NE(ReadFile(FPath).find("two"), std::string::npos);
    log.Line(std::string(20000, 'x'));
    EXPECT_GT(ReadFile(FPath).size(), 20000u);
    log.Line("last");
    EXPECT_EQ(ReadFile(FPath).find("last"), std::string::npos);
  }
  EXPECT_NE(ReadFile(FPath).find("last"), std::string::npos) << "the end of the log writes all";
}

// Whatever is written, the files put together are the newest entries without a gap.
TEST_F(TFileLogTest, RotationLosesNothingButTheOldest) {
  const unsigned seed = std::random_device()();
  SCOPED_TRACE(seed);
  std::mt19937 random(seed);
  for (int kept = 0; kept <= 3; ++kept) {
    const TTempDir dir;
    const std::string path = dir.File("r.log");
    constexpr std::size_t kMax = 300;
    std::string all;
    for (int run = 0; run < 4; ++run) {
      TFileLog log(path, kMax, kept);
      for (int i = 0; i < 25; ++i) {
        const std::string text(random() % 120, static_cast<char>('a' + i));
        all += Stamped(text + "\n");
        log.Line(text);
        if (random() % 4 == 0) log.Flush();
      }
    }
    std::string found;
    int files = 0;
    for (int number = kept + 1; number >= 0; --number) {
      const std::string name = number == 0 ? path : path + "." + std::to_string(number);
      if (!std::filesystem::exists(name)) continue;
      ++files;
      const std::string contents = ReadFile(name);
      EXPECT_LE(contents.size(), kMax);
      if (number > 0) {
        EXPECT_GT(contents.size() + 142, kMax) << "moved before it was full";
      }
      found += contents;
    }
    EXPECT_EQ(files, kept + 1);
    ASSERT_LE(found.size(), all.size());
    EXPECT_EQ(all.substr(all.size() - found.size()), found);
  }
}

TEST_F(TFileLogTest, AMissingDirectoryIsToldOnceAndTheLinesArriveLater) {
  const std::string path = FDir.File("later") + "/app.log";
  testing::internal::CaptureStderr();
  TFileLog log(path);
  for (int i = 0; i < 5; ++i) {
    log.Line("line " + std::to_string(i));
    log.Flush();
    FClock->Advance(1000);
  }
  EXPECT_EQ(Told("cannot open the log " + path + ": No such file or directory"), 1);

  std::filesystem::create_directory(FDir.File("later"));
  log.Line("line 5");
  std::string expected;
  for (int i = 0; i <= 5; ++i) expected += "  line " + std::to_string(i) + "\n";
  EXPECT_EQ(Texts(path), expected);
}

TEST_F(TFileLogTest, WhatFindsNoRoomWhileTheDiskFailsIsCounted) {
  const std::string path = FDir.File("later") + "/app.log";
  testing::internal::CaptureStderr();
  TFileLog log(path);
  const std::string block(100000, 'x');
  for (int i = 0; i < 15; ++i) log.Line(block);
  EXPECT_EQ(Told("cannot open"), 1);
  std::filesystem::create_directory(FDir.File("later"));
  log.Flush();
  const std::string contents = ReadFile(path);
  EXPECT_EQ(contents.size() / block.size(), 10u);
  EXPECT_EQ(contents.substr(contents.rfind("  ")), "  5 lines were lost here\n");
}

// A write that the disk cuts short goes on where it stopped: no entry is torn or doubled.
TEST_F(TFileLogTest, AFullDiskTearsNoEntry) {
  testing::internal::CaptureStderr();
  std::string expected;
  TFileLog log(FPath);
  {
    const TFullDisk disk(100);
    for (int i = 0; i < 10; ++i) {
      log.Line("entry " + std::to_string(i));
      expected += Stamped("entry " + std::to_string(i) + "\n");
      log.Flush();
    }
    EXPECT_EQ(ReadFile(FPath), expected.substr(0, 100));
  }
  log.Flush();
  EXPECT_EQ(Told("cannot write the log " + FPath), 1);
  EXPECT_EQ(ReadFile(FPath), expected);
}

TEST_F(TFileLogTest, AFileThatCannotBeMovedGoesOnGrowing) {
  std::filesystem::create_directories(FPath + ".1/in the way");
  testing::internal::CaptureStderr();
  TFileLog log(FPath, 100, 1);
  std::string expected;
  for (int i = 0; i < 10; ++i) {
    log.Line("entry " + std::to_string(i));
    log.Flush();
    expected += "  entry " + std::to_string(i) + "\n";
    FClock->Advance(1000);
  }
  EXPECT_EQ(Told("cannot rotate the log"), 1);
  EXPECT_EQ(Texts(FPath), expected);

  std::filesystem::remove_all(FPath + ".1");
  log.Line("moves at last");
  log.Flush();
  EXPECT_EQ(Texts(FPath), "  moves at last\n");
}

}  // namespace
}  // namespace perlayer
