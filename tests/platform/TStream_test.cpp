#include "perlayer/platform/TStream.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <random>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Files.h"
#include "perlayer/platform/TFileStream.h"
#include "perlayer/platform/TMemoryStream.h"
#include "support/Faults.h"
#include "support/TempDir.h"

namespace perlayer {
namespace {

template <class TAction>
std::string Error(TAction action) {
  try {
    action();
  } catch (const EStreamError& e) {
    return e.Message();
  }
  return "no error";
}

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
    switch (random() % 6) {
      case 0: {
        const std::string bytes = RandomBytes(random, size);
        stream.WriteText(bytes);
        const auto at = static_cast<std::size_t>(position);
        if (size > 0) {
          if (model.size() < at + size) model.resize(at + size);
          model.replace(at, size, bytes);
        }
        position += static_cast<std::int64_t>(size);
        break;
      }
      case 1: {
        std::string bytes(size, 'x');
        bytes.resize(stream.Read(bytes.data(), size));
        const auto at = std::min(static_cast<std::size_t>(position), model.size());
        ASSERT_EQ(bytes, model.substr(at, size));
        position += static_cast<std::int64_t>(bytes.size());
        break;
      }
      case 2:
        position = static_cast<std::int64_t>(random() % (model.size() + 50));
        ASSERT_EQ(stream.Seek(position, TSeekOrigin::beginning), position);
        break;
      case 3: {
        const std::int64_t offset = static_cast<std::int64_t>(random() % 100) - 50;
        const bool fromEnd = random() % 2 == 0;
        const std::int64_t target =
            (fromEnd ? static_cast<std::int64_t>(model.size()) : position) + offset;
        const auto origin = fromEnd ? TSeekOrigin::end : TSeekOrigin::current;
        if (target < 0) {
          ASSERT_NE(Error([&] { stream.Seek(offset, origin); }), "no error");
        } else {
          ASSERT_EQ(stream.Seek(offset, origin), target);
          position = target;
        }
        break;
      }
      case 4:
        if (random() % 20 == 0) {
          model.resize(random() % 500);
          stream.Size(static_cast<std::int64_t>(model.size()));
        }
        break;
      default: {
        const auto at = std::min(static_cast<std::size_t>(position), model.size());
        if (random() % 10 == 0) {
          ASSERT_EQ(stream.ReadRest(), model.substr(at));
          position = std::max(position, static_cast<std::int64_t>(model.size()));
        }
      }
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
  EXPECT_EQ(Error([&] { part.CopyFrom(file, 130000); }),
            "Cannot copy " + dir.File("copy") + ": it ends after 129900 of 130000 bytes");
  EXPECT_EQ(part.Bytes(), bytes.substr(70100));
  EXPECT_THROW(part.CopyFrom(part, 0), EAssertionFailed);
  EXPECT_THROW(part.CopyFrom(file, -1), EAssertionFailed);
  EXPECT_EQ(part.CopyFrom(*std::make_unique<TMemoryStream>(), 0), 0);
}

TEST(TStream, ErrorsSayWhatAndWhere) {
  const TTempDir dir;
  const std::string path = dir.Write("file", "12345");
  const std::string missing = dir.File("missing");
  const auto open = [](const std::string& name, TFileMode mode) {
    return Error([&] { TFileStream(name, mode).ReadRest(); });
  };
  const std::string none = ": No such file or directory";
  EXPECT_EQ(open(missing, TFileMode::read), "Cannot open " + missing + none);
  EXPECT_EQ(open(missing, TFileMode::readWrite), "Cannot open " + missing + none);
  EXPECT_EQ(open(missing + "/x", TFileMode::create), "Cannot create " + missing + "/x" + none);
  EXPECT_EQ(open(path, TFileMode::createNew), "Cannot create " + path + ": File exists");
  EXPECT_EQ(open(path + std::string(1, '\0'), TFileMode::read),
            "Cannot open " + path + std::string(1, '\0') + ": a zero byte in the path");
  EXPECT_EQ(open(dir.Path(), TFileMode::read), "Cannot read " + dir.Path() + ": Is a directory");

  TFileStream file(path, TFileMode::read);
  char buffer[10];
  EXPECT_EQ(Error([&] { file.ReadBuffer(buffer, 7); }),
            "Cannot read " + path + ": it ends 2 bytes too early");
  EXPECT_EQ(Error([&] { file.WriteText("x"); }), "Cannot write " + path + ": Bad file descriptor");
  EXPECT_EQ(Error([&] { file.Seek(-1, TSeekOrigin::beginning); }),
            "Cannot seek in " + path + ": Invalid argument");
  file.Close();
  file.Close();
  EXPECT_EQ(Error([&] { file.ReadRest(); }), "Cannot read " + path + ": Bad file descriptor");

  TFileStream full("/dev/full", TFileMode::readWrite);
  EXPECT_EQ(Error([&] { full.WriteText("x"); }), "Cannot write /dev/full: No space left on device");

  TMemoryStream memory;
  constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
  memory.Position(kMost);
  EXPECT_EQ(Error([&] { memory.WriteText("x"); }),
            "Cannot write the memory stream: it cannot hold so many bytes");
  EXPECT_EQ(Error([&] { memory.Seek(1, TSeekOrigin::current); }),
            "Cannot seek in the memory stream: no position 1 from there");
  EXPECT_EQ(Error([&] { memory.Size(-1); }), "Cannot resize the memory stream: -1 bytes");
  EXPECT_EQ(memory.Size(), 0);
}

TEST(TStream, MemoryStreamsLoadAndSaveWhole) {
  const TTempDir dir;
  TStringStream text("šumnik");
  EXPECT_EQ(text.Position(), 0);
  EXPECT_EQ(text.ReadString(3), "šu");
  text.SaveToFile(dir.File("text"));
  text.WriteText("XY");
  EXPECT_EQ(text.DataString(), "šuXYik");
  EXPECT_EQ(text.ReadString(100), "ik");

  TMemoryStream memory;
  memory.LoadFromStream(text);
  EXPECT_EQ(memory.Bytes(), "šuXYik");
  EXPECT_EQ(Error([&] { memory.LoadFromFile(dir.File("none")); }),
            "Cannot open " + dir.File("none") + ": No such file or directory");
  EXPECT_EQ(memory.Bytes(), "šuXYik");
  memory.LoadFromFile(dir.File("text"));
  TMemoryStream copy;
  memory.Position(3);
  memory.SaveToStream(copy);
  EXPECT_EQ(copy.Bytes(), "šumnik");
}

}  // namespace
}  // namespace perlayer
