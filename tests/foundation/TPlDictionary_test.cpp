#include "perlayer/foundation/TPlDictionary.h"

#include <gtest/gtest.h>

#include <string>

namespace perlayer {
namespace {

std::string Trace;

class TNoted : public TObject {
  TCLASS(TNoted, TObject)
 public:
  void Create(char mark) { FMark = mark; }
  void Destroy() override {
    Trace += FMark;
    if (companion != nullptr) std::exchange(companion, nullptr)->Free();
    TObject::Destroy();
  }
  TNoted* companion = nullptr;

 private:
  char FMark = ' ';
};

// Entries without an object, the same object twice, and one that takes another with it.
template <class TAdd>
void Fill(TAdd add) {
  Trace.clear();
  auto* b = New<TNoted>('b');
  auto* c = New<TNoted>('c');
  b->companion = c;
  for (TNoted* object : {New<TNoted>('a'), static_cast<TNoted*>(nullptr), b, b, c}) add(object);
  add(New<TNoted>('d'));
}

TEST(TPlDictionary, FreeWithContentsFreesEachObjectOnceInOrderThenTheList) {
  auto* dictionary = New<TPlDictionary>();
  const TObjectHandle handle(dictionary);
  Fill([&](TNoted* object) { dictionary->AddObject("Key", object); });
  EXPECT_EQ(dictionary->Count(), 6) << "equal keys stand beside each other";
  EXPECT_EQ(dictionary->IndexOf("KEY"), 0);
  dictionary->FreeWithContents();
  EXPECT_EQ(Trace, "abcd");
  EXPECT_FALSE(handle.IsAlive());

  auto* list = New<TPlList>();
  Fill([&](TNoted* object) { list->Add(object); });
  list->FreeWithContents();
  EXPECT_EQ(Trace, "abcd");
}

}  // namespace
}  // namespace perlayer
