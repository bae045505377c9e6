#include "perlayer/foundation/TPlDictionary.h"

#include <string>

#include "support/ModelTest.h"

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

class TObjectOfModel : public TModelTest {
 protected:
  // In any case, beyond ASCII, and cut anywhere: within a character, too.
  std::string RandomText() {
    static const std::string kBeginnings[] = {"OMRA.PATIENT",
                                              "omra.Patient",
                                              "ČAKALNA",
                                              "čakalna",
                                              "\xC4",
                                              "a name of more letters than a key is usually "
                                              "given, so that it takes memory of its own: "};
    return kBeginnings[Below(6)] + std::to_string(Below(60)) + (Below(9) == 0 ? "Š\xFFž" : "");
  }
  // Without a question about order between; now and then an object goes before its entry does.
  void ComeAndGo() {
    for (int i = Below(80); i > 0; --i) {
      const std::string text = RandomText();
      TOwned<TObject>& object = objects[static_cast<std::size_t>(Below(20))];
      const int count = dictionary->Count();
      TPlDictionary::TFound found;
      if (!Attempt([&] { dictionary->FindObject(text, {}, found); })) continue;
      bool done = false;
      if (found.object == nullptr) {
        if (!Attempt([&] { done = dictionary->AddNew(text, object.Get()); })) done = false;
        ASSERT_EQ(dictionary->Count(), count + done);
        if (done && Below(30) == 0) object = Make<TObject>();
      } else if (Attempt([&] { done = dictionary->DeleteOf(text, found.object); })) {
        ASSERT_TRUE(done) << text;
        ASSERT_EQ(dictionary->Count(), count - 1);
      }
    }
  }
  void Change() {
    const std::string text = RandomText();
    TObject* object = Below(5) == 0 ? nullptr : objects[static_cast<std::size_t>(Below(20))].Get();
    const int index = dictionary->Count() == 0 ? 0 : Below(dictionary->Count());
    switch (Below(120)) {
      case 0:
        dictionary->Clear();
        break;
      case 1:
        dictionary->Sorted(false);
        dictionary->Insert(index, text);
        dictionary->Strings(index, RandomText());
        dictionary->Exchange(0, index);
        [[fallthrough]];
      case 2:
        dictionary->Sorted(Below(3) != 0);
        break;
      case 3:
        dictionary->CaseSensitive(Below(3) == 0);
        break;
      case 4:
        dictionary->Duplicates(Below(3) == 0 ? TDuplicates::dupAccept : TDuplicates::dupIgnore);
        break;
      case 5:
        dictionary->CommaText("omra.patient1,čakalna2");
        break;
      case 6:
        objects[static_cast<std::size_t>(Below(20))] = Make<TObject>();
        break;
      case 7:
        if (dictionary->Sorted() && dictionary->Duplicates() == TDuplicates::dupIgnore) ComeAndGo();
        break;
      default:
        if (dictionary->Count() > 0 && Below(5) == 0) {
          dictionary->Delete(index);
        } else if (dictionary->Count() > 0 && Below(3) == 0) {
          dictionary->Objects(index, object);
        } else {
          Attempt([&] { dictionary->AddObject(text, object); });
        }
    }
  }

  TOwned<TPlDictionary> dictionary = Make<TPlDictionary>();
  std::vector<TOwned<TObject>> objects;
};

// The object is the one beside the text that IndexOf finds, whatever has happened to the list.
TEST_P(TObjectOfModel, AnswersAsTheListDoes) {
  for (int i = 0; i < 20; ++i) objects.push_back(Make<TObject>());
  dictionary->Sorted(true);
  int found = 0;
  for (int step = 0; step < ModelSteps(40000); ++step) {
    SCOPED_TRACE(testing::Message() << "seed " << GetParam() << ", step " << step);
    if (dictionary->Count() > 0 || Below(2) == 0) Change();
    const std::string text = RandomText();
    const std::string_view view(text);
    const auto cut = static_cast<std::size_t>(Below(static_cast<int>(text.size()) + 1));
    const int index = dictionary->IndexOf(text);
    TObject* object = index < 0 ? nullptr : dictionary->Objects(index);
    TObject* answer = nullptr;
    if (Attempt([&] { answer = dictionary->ObjectOf(view.substr(0, cut), view.substr(cut)); })) {
      ASSERT_EQ(answer, object) << text;
    }
    found += object != nullptr;
  }
  EXPECT_GT(found, 1000);
}

INSTANTIATE_TEST_SUITE_P(Seeds, TObjectOfModel, testing::Range(1u, 4u));

}  // namespace
}  // namespace perlayer
