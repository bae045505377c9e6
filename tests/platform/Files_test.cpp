#include "perlayer/platform/Files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/TMemoryStream.h"
#include "perlayer/platform/TStringList.h"
#include "support/Faults.h"
#include "support/Raised.h"
#include "support/TempDir.h"

namespace perlayer {
namespace {

std::string ReplaceError(const std::string& path, std::string_view contents) {
  return Raised([&] { ReplaceFile(path, contents); });
}

unsigned PermissionsOf(const std::string& path) {
  struct stat state {};
  EXPECT_EQ(stat(path.c_str(), &state), 0);
  return state.st_mode & 07777;
}

TEST(Files, ReplacingKeepsPermissionsAndLinks) {
  const TTempDir dir;
  const std::string path = dir.File("file");
  EXPECT_FALSE(ReadFileIfThere(path).has_value());
  ReplaceFile(path, "first");
  EXPECT_EQ(ReadFileIfThere(path), "first");
  ASSERT_EQ(chmod(path.c_str(), 0640), 0);
  std::filesystem::create_symlink("file", dir.File("link"));
  ReplaceFile(dir.File("link"), "second");
  EXPECT_EQ(ReadFile(path), "second");
  EXPECT_TRUE(std::filesystem::is_symlink(dir.File("link")));
  EXPECT_EQ(PermissionsOf(path), 0640u);
  EXPECT_EQ(EntriesOf(dir.Path()), 2);
}

// Wherever the disk is full, the old file stands or the new one, and nothing lies beside it.
TEST(Files, AFullDiskLeavesTheOldFile) {
  const TTempDir dir;
  const std::string path = dir.Write("file", "old");
  const std::string contents(40, 'n');
  for (std::size_t room = 0; room <= contents.size(); ++room) {
    {
      const TFullDisk disk(room);
      const std::string error = ReplaceError(path, contents);
      if (room < contents.size()) {
        EXPECT_EQ(error.substr(0, error.find(": ")), "Cannot replace " + path);
        EXPECT_NE(error.find("File too large"), error.npos) << error;
      } else {
        EXPECT_EQ(error, "");
      }
    }
    EXPECT_EQ(ReadFile(path), room < contents.size() ? "old" : contents);
    EXPECT_EQ(EntriesOf(dir.Path()), 1);
  }
}

TEST(Files, WhatMayNotBeWrittenIsNotReplaced) {
  const TTempDir dir;
  const std::string path = dir.Write("file", "old");
  std::filesystem::create_symlink("nowhere", dir.File("dangling"));
  EXPECT_EQ(ReplaceError("/dev/full", "x"), "Cannot replace /dev/full: it is no plain file");
  EXPECT_EQ(ReplaceError(dir.File("dangling"), "x"),
            "Cannot replace " + dir.File("dangling") + ": No such file or directory");
  EXPECT_EQ(ReplaceError(path + "/x", "x"), "Cannot replace " + path + "/x: Not a directory");
  EXPECT_NE(ReplaceError(path + std::string(1, '\0'), "x"), "");

  ASSERT_EQ(chmod(path.c_str(), 0444), 0);
  ASSERT_EQ(chmod(dir.Path().c_str(), 0777), 0);
  {
    const TOrdinaryUser user;
    EXPECT_EQ(ReplaceError(path, "x"), "Cannot replace " + path + ": Permission denied");
  }
  ASSERT_EQ(chmod(dir.Path().c_str(), 0555), 0);
  ASSERT_EQ(chmod(path.c_str(), 0666), 0);
  {
    const TOrdinaryUser user;
    const std::string error = ReplaceError(path, "x");
    EXPECT_EQ(error.substr(0, error.find(": ")), "Cannot replace " + path);
    EXPECT_NE(error.find("Permission denied"), error.npos) << error;
  }
  ASSERT_EQ(chmod(dir.Path().c_str(), 0700), 0);
  EXPECT_EQ(ReadFile(path), "old");
  EXPECT_EQ(EntriesOf(dir.Path()), 2);
}

TEST(Files, PrivateDirectoriesAreTheOwnersAlone) {
  const TTempDir dir;
  const std::string path = dir.File("a/b/c");
  MakePrivateDirectory(path);
  EXPECT_EQ(PermissionsOf(path), 0700u);
  EXPECT_EQ(PermissionsOf(dir.File("a")), 0700u);
  ASSERT_EQ(chmod(path.c_str(), 0750), 0);
  MakePrivateDirectory(path + "/");
  EXPECT_EQ(PermissionsOf(path), 0750u);
  const std::string file = dir.Write("file", "");
  EXPECT_THROW(MakePrivateDirectory(file + "/x"), EStreamError);
}

TEST(Files, StringListsLoadAndSave) {
  const TTempDir dir;
  const std::string path = dir.File("list");
  const auto list = Make<TStringList>();
  list->AddStrings({"prvi", "", "tretji = 3"});
  list->SaveToFile(path);
  EXPECT_EQ(ReadFile(path), "prvi\r\n\r\ntretji = 3\r\n");
  const auto read = Make<TStringList>();
  read->LoadFromFile(path);
  EXPECT_TRUE(read->Equals(*list.Get()));

  TStringStream stream(
      "skipped\xEF\xBB\xBF"
      "a\nb");
  stream.Position(7);
  read->LoadFromStream(stream);
  EXPECT_EQ(read->CommaText(), "a,b");
  stream.Position(0);
  read->SaveToStream(stream);
  EXPECT_EQ(stream.DataString().substr(0, 7), "a\r\nb\r\nd") << "written over";

  EXPECT_THROW(read->LoadFromFile(dir.File("none")), EStreamError);
  EXPECT_EQ(read->CommaText(), "a,b");
}

}  // namespace
}  // namespace perlayer
