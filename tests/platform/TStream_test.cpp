#include "perlayer/platform/TStream.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Files.h"
#include "perlayer/platform/TFileStream.h"
#include "perlayer/platform/TMemoryStream.h"
#include "support/Faults.h"
#include "support/Raised.h"
#include "support/TempDir.h"

namespace perlayer {
namespace {

std::string RandomBytes(std::mt19937& random, std::size_t size) {
  std::string bytes(size, '\0');
  for (char& c : bytes) c = static_cast<char>(random());
  return bytes;
}

// A stream does what a text with a position does, whatever it is kept in.
void RunModel(TStream& stream, unsigned seed) {
  std::mt19937 random(seed);
  std::string model;
  std::int64_t position = 0;
  for (int i = 0; i < 2000; ++i) {
    const std::size_t size = random() % 100;
    const auto at = static_cast<std::size_t>(position);
    const std::string rest = model.substr(std::min(at, model.size()));
    switch (random() % 5) {
      case 0: {
        const std::string bytes = RandomBytes(random, size);
        stream.WriteText(bytes);
        if (size == 0) break;
        model.resize(std::max(model.size(), at + size));
        model.replace(at, size, bytes);
        position += static_cast<std::int64_t>(size);
        break;
      }
      case 1: {
        std::string bytes(size, 'x');
        bytes.resize(stream.Read(bytes.data(), size));
        ASSERT_EQ(bytes, rest.substr(0, size));
        position += static_cast<std::int64_t>(bytes.size());
        break;
      }
      case 2: {
        const std::int64_t starts[] = {0, position, static_cast<std::int64_t>(model.size())};
        const auto origin = static_cast<TSeekOrigin>(random() % 3);
        const std::int64_t offset = static_cast<std::int64_t>(random() % 150) - 50;
        const std::int64_t target = starts[static_cast<int>(origin)] + offset;
        if (target < 0) {
          ASSERT_THROW(stream.Seek(offset, origin), EStreamError);
        } else {
          ASSERT_EQ(stream.Seek(offset, origin), target);
          position = target;
        }
        break;
      }
      case 3:
        if (random() % 20 > 0) break;
        model.resize(random() % 500);
        stream.Size(static_cast<std::int64_t>(model.size()));
        break;
      default:
        if (random() % 10 > 0) break;
        ASSERT_EQ(stream.ReadRest(), rest);
        position += static_cast<std::int64_t>(rest.size());
    }
    ASSERT_EQ(stream.Position(), position);
    ASSERT_EQ(stream.Size(), static_cast<std::int64_t>(model.size()));
  }
}

TEST(TStream, DoesWhatATextWithAPositionDoes) {
  const unsigned seed = std::random_device()();
  SCOPED_TRACE(seed);
  const TTempDir dir;
  TMemoryStream memory;
  RunModel(memory, seed);
  TFileStream file(dir.File("model"), TFileMode::create);
  RunModel(file, seed);
  EXPECT_EQ(ReadFile(dir.File("model")), memory.Bytes());
}

TEST(TStream, CopiesAllOrTheNextBytes) {
  const TTempDir dir;
  std::mt19937 random(1);
  const std::string bytes = RandomBytes(random, 200000);
  TStringStream source(bytes);
  TFileStream file(dir.File("copy"), TFileMode::create);
  source.Position(5);
  EXPECT_EQ(file.CopyFrom(source, 0), 200000);
  EXPECT_EQ(ReadFile(dir.File("copy")), bytes);

  TMemoryStream part;
  file.Position(100);
  EXPECT_EQ(part.CopyFrom(file, 70000), 70000);
  EXPECT_EQ(part.Bytes(), bytes.substr(100, 70000));
  EXPECT_EQ(file.Position(), 70100);

  part.Clear();
  EXPECT_EQ(Raised([&] { part.CopyFrom(file, 130000); }),
            "Cannot copy " + dir.File("copy") + ": it ends after 129900 of 130000 bytes");
  EXPECT_EQ(part.Bytes(), bytes.substr(70100));
  EXPECT_THROW(part.CopyFrom(part, 0), EAssertionFailed);
}

TEST(TStream, ErrorsSayWhatAndWhere) {
  const TTempDir dir;
  const std::string path = dir.Write("file", "12345");
  const std::string missing = dir.File("missing");
  const auto open = [](const std::string& name, TFileMode mode) {
    return Raised([&] { TFileStream(name, mode).ReadRest(); });
  };
  const std::string none = ": No such file or directory";
  EXPECT_EQ(open(missing, TFileMode::read), "Cannot open " + missing + none);
  EXPECT_EQ(open(missing + "/x", TFileMode::create), "Cannot create " + missing + "/x" + none);
  EXPECT_EQ(open(path, TFileMode::createNew), "Cannot create " + path + ": File exists");
  EXPECT_EQ(open(path + std::string(1, '\0'), TFileMode::read),
            "Cannot open " + path + std::string(1, '\0') + ": a zero byte in the path");
  EXPECT_EQ(open(dir.Path(), TFileMode::read), "Cannot read " + dir.Path() + ": Is a directory");

  TFileStream file(path, TFileMode::read);
  char buffer[10];
  EXPECT_EQ(Raised([&] { file.ReadBuffer(buffer, 7); }),
            "Cannot read " + path + ": it ends 2 bytes too early");
  EXPECT_EQ(Raised([&] { file.WriteText("x"); }), "Cannot write " + path + ": Bad file descriptor");
  EXPECT_EQ(Raised([&] { file.Seek(-1, TSeekOrigin::beginning); }),
            "Cannot seek in " + path + ": Invalid argument");
  file.Close();
  EXPECT_EQ(Raised([&] { file.ReadRest(); }), "Cannot read " + path + ": Bad file descriptor");

  TFileStream full("/dev/full", TFileMode::readWrite);
  EXPECT_EQ(Raised([&] { full.WriteText("x"); }),
            "Cannot write /dev/full: No space left on device");

  TMemoryStream memory;
  constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
  memory.Position(kMost);
  EXPECT_EQ(Raised([&] { memory.WriteText("x"); }),
            "Cannot write the memory stream: it cannot hold so many bytes");
  EXPECT_EQ(Raised([&] { memory.Seek(1, TSeekOrigin::current); }),
            "Cannot seek in the memory stream: no position 1 from there");
  EXPECT_EQ(Raised([&] { memory.Size(-1); }), "Cannot resize the memory stream: -1 bytes");
  EXPECT_EQ(memory.Size(), 0);
}

TEST(TStream, MemoryStreamsLoadAndSaveWhole) {
  const TTempDir dir;
  TStringStream text("šumnik");
  EXPECT_EQ(text.ReadString(3), "šu");
  text.SaveToFile(dir.File("text"));
  text.WriteText("XY");
  EXPECT_EQ(text.DataString(), "šuXYik");

  TMemoryStream memory;
  memory.LoadFromStream(text);
  EXPECT_EQ(memory.Bytes(), "šuXYik");
  EXPECT_THROW(memory.LoadFromFile(dir.File("none")), EStreamError);
  EXPECT_EQ(memory.Bytes(), "šuXYik");
  memory.LoadFromFile(dir.File("text"));
  TMemoryStream copy;
  memory.Position(3);
  memory.SaveToStream(copy);
  EXPECT_EQ(copy.Bytes(), "šumnik");
}

}  // namespace
}  // namespace perlayer
