#include "perlayer/provider/TValueRow.h"

#include <gtest/gtest.h>

#include <random>

#include "perlayer/platform/Text.h"

namespace perlayer {
namespace {

std::vector<std::string> Texts(const TValueRow& row) {
  std::vector<std::string> texts;
  for (int i = 0; i < row.Count(); ++i) texts.emplace_back(row.At(i));
  return texts;
}

std::string RandomText(std::mt19937& random) {
  static constexpr std::size_t kSizes[] = {0, 0, 1, 3, 4, 5, 17, 1200};
  std::string text(kSizes[random() % std::size(kSizes)], ' ');
  for (char& c : text) c = static_cast<char>(random());  // zero bytes too
  return text;
}

// A row against a vector of strings, through writer, copies, moves and writes, also of views into
// the row itself.
TEST(TValueRow, AnswersWhatAVectorAnswers) {
  for (unsigned seed = 1; seed <= 200; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    std::vector<std::string> model;
    TRowWriter writer;
    const std::size_t written = random() % 130;  // around the 64 that need no heap
    for (std::size_t i = 0; i < written; ++i) {
      model.push_back(RandomText(random));
      const std::size_t half = model.back().size() / 2;
      writer.Write(std::string_view(model.back()).substr(0, half));
      writer.WriteValue(std::string_view(model.back()).substr(half));
    }
    model.resize(written + random() % 3);
    TValueRow row = writer.Finish(static_cast<int>(model.size()));
    TValueRow other;
    std::vector<std::string> otherModel;
    for (int step = 0; step < 60; ++step) {
      const std::size_t index = model.empty() ? 0 : random() % model.size();
      switch (random() % 6) {
        case 0: {
          const auto count = random() % 3;
          row.AppendEmpty(static_cast<int>(count));
          model.resize(model.size() + count);
          break;
        }
        case 1:
          other = row;
          otherModel = model;
          break;
        case 2:
          std::swap(row, other);
          std::swap(model, otherModel);
          break;
        case 3:
          if (!model.empty()) {
            const std::size_t from = random() % model.size();
            const std::size_t cut = model[from].empty() ? 0 : random() % model[from].size();
            row.Set(static_cast<int>(index), row.At(static_cast<int>(from)).substr(cut));
            model[index] = std::string(model[from]).substr(cut);
          }
          break;
        default:
          if (!model.empty()) {
            model[index] = RandomText(random);
            row.Set(static_cast<int>(index), model[index]);
          }
      }
      ASSERT_EQ(Texts(row), model);
      ASSERT_EQ(Texts(other), otherModel);
    }
  }
}

TEST(TValueRow, TakesOneMegabyteAndGivesItBack) {
  const std::string large(1 << 20, 'x');
  TRowWriter writer;
  writer.WriteValue("a");
  writer.WriteValue(large);
  TValueRow row = writer.Finish(3);
  const std::size_t full = row.MemoryUsed();
  EXPECT_GE(full, large.size());
  row.Set(2, large);
  EXPECT_EQ(row.At(1), large);
  EXPECT_EQ(row.At(2), large);
  row.Set(1, "");
  row.Set(2, "z");
  EXPECT_EQ(Texts(row), (std::vector<std::string>{"a", "", "z"}));
  EXPECT_LT(row.MemoryUsed(), 100u);
}

TEST(TValueRow, WritesNumbersAsTextReadsThem) {
  const double values[] = {-0.0, 999999999999999, 1e15, -1e15, 1e17, 1e-5, -2.5, 5e-324, 1e300};
  TRowWriter writer;
  for (const double value : values) {
    writer.WriteNumber(value);
    writer.EndValue();
  }
  writer.WriteInteger(std::numeric_limits<std::int64_t>::min());
  writer.EndValue();
  const int count = static_cast<int>(std::size(values));
  const TValueRow row = writer.Finish(count + 1);
  for (int i = 0; i < count; ++i) EXPECT_EQ(row.At(i), FloatToStr(values[i]));
  EXPECT_EQ(row.At(count), "-9223372036854775808");
}

}  // namespace
}  // namespace perlayer
