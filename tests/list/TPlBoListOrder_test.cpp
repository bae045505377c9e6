// Lists with an order and a filter, of rows that are fetched.

#include <functional>

#include "perlayer/list/TPlBoList.h"
#include "support/HospitalFixture.h"

namespace perlayer {
namespace {

class TOrderedList : public THospital {
 protected:
  TOrderedList() {
    const char* const names[] = {"Novak", "Čuk", "novak", "Zajc", "Cvek", "Novak"};
    for (int i = 0; i < 6; ++i) AddPatient(i + 1, names[i]);
  }
  ~TOrderedList() override { FList->Release(FForm.Get()); }

  void Fetch(const std::string& order) {
    FList = FPatients->FetchObjectList(FForm.Get(), "ID > 0", order, true);
  }
  std::string Ids() const {
    std::string ids;
    for (TplPerObject* object : *FList) ids += object == nullptr ? "-" : object->GetGID();
    return ids;
  }
  // The objects that a walk over the list comes by.
  std::string Seen() {
    std::string ids;
    FList->First();
    for (FList->Next(); !FList->EOL(); FList->Next()) ids += FList->CurrObject()->GetGID();
    return ids;
  }

  TPlBoList* FList = nullptr;
};

TEST_F(TOrderedList, IsSortedByTheFetchAndStaysSoWhenObjectsComeToIt) {
  Fetch("NAME,-ID");
  EXPECT_EQ(Ids(), "523614");
  EXPECT_EQ(FList->aiOrder(), "NAME,-ID");
  FList->Exchange(0, 5);
  FList->OrderBy("NAME,-ID");
  EXPECT_EQ(Ids(), "423615") << "the order is in force";
  FList->ForcedOrderBy(FList->aiOrder());
  EXPECT_EQ(Ids(), "523614");
  AddPatient(7, "Dolenc");
  THold<TpoPatient> added = Patient("7");
  EXPECT_EQ(FList->Add(added.Get()), 2);
  EXPECT_EQ(FList->NSCurrIndex(), 2);
  FList->SetListFilter("NAME <> 'Dolenc'");
  FList->First();
  EXPECT_EQ(FList->Add(added.Get()), 2);
  EXPECT_EQ(FList->NSCurrIndex(), -1) << "the filter hides it";
  FList->OrderBy("");
  EXPECT_EQ(FList->aiOrder(), "NAME,-ID");
  FList->ForcedOrderBy("");
  EXPECT_EQ(FList->aiOrder() + DefaultSortParam(), "");
  EXPECT_EQ(Ids(), "52773614");
}

TEST_F(TOrderedList, FindsTheFirstPlaceWithoutRegardToCase) {
  Fetch("NAME,ID");
  ASSERT_EQ(Ids(), "523164");
  int index = -1;
  EXPECT_TRUE(FList->Find("NAME", "NOVAK", index));
  EXPECT_EQ(index, 2);
  EXPECT_TRUE(FList->Find("NAME", "čuk", index));
  EXPECT_EQ(index, 1);
  EXPECT_FALSE(FList->Find("NAME", "Č", index));
  EXPECT_EQ(index, 1);
  EXPECT_FALSE(FList->Find("NAME", "Žagar", index));
  EXPECT_EQ(index, 6);
  FList->Clear();
  EXPECT_FALSE(FList->Find("NAME", "Novak", index));
  EXPECT_EQ(index, 0);
}

TEST_F(TOrderedList, IsWalkedByWhatTheFilterAccepts) {
  Fetch("ID");
  FList->Last();
  FList->aiListFilter("NAME LIKE 'nov'");
  EXPECT_EQ(Seen(), "136");
  EXPECT_EQ(FList->CountWithFilter(), 3);
  EXPECT_EQ(FList->Count(), 6);
  FList->GoToBookmark("3");
  EXPECT_EQ(FList->CurrObject()->GetGID(), "6");
  FList->SetListFilter("NAME = 'nobody'");
  EXPECT_EQ(FList->CurrObject(), nullptr);
  EXPECT_EQ(Seen(), "");
  // What is no filter raises from every look at an object, and changes nothing.
  FList->GoToBookmark("2");
  const std::string message =
      "Napačen filter: NAME = 1! (podrobnosti: Variant of kind String cannot be read as Float)";
  EXPECT_EQ(Raised([&] { FList->SetListFilter("NAME = 1"); }), message);
  EXPECT_EQ(FList->NSCurrIndex(), 3) << "where the fault found it";
  for (const std::function<void()>& look : std::initializer_list<std::function<void()>>{
           [&] { FList->Next(); }, [&] { FList->Prior(); }, [&] { FList->CurrObject(); },
           [&] { FList->CountWithFilter(); }}) {
    EXPECT_EQ(Raised(look), message);
  }
  EXPECT_EQ(FList->EvaluateFilterExpression(FList->Get(0), "NAME = 'Novak'"), true);
  FList->SetListFilter("");
  EXPECT_EQ(Seen() + Ids(), "123456123456");
}

// Does something while it is asked for its description.
class TpoMeddler : public TplPerObject {
  TCLASS(TpoMeddler, TplPerObject)
 public:
  std::string GetCalcAttrValue(const std::string&) override {
    if (auto act = std::exchange(Act, nullptr)) act();
    return "X";
  }
  std::function<void()> Act;
};

TEST_F(TOrderedList, StandsObjectsThatChangeItOrLetItGo) {
  Fetch("ID");
  auto* const meddler = New<TpoMeddler>(FPatients, FForm.Get());
  FList->Insert(0, meddler);
  meddler->Act = [&] { FList->Delete(1); };
  EXPECT_EQ(Raised([&] { FList->ForcedOrderBy("DESCRIPTION"); }),
            "TPlCustomBoList.Sort: the list has changed while it was sorted");
  EXPECT_EQ(FList->Count(), 6);
  FList->First();
  meddler->Act = [&] { FList->SetListFilter("DESCRIPTION = 'Y'"); };
  FList->SetListFilter("DESCRIPTION = 'X'");
  EXPECT_EQ(FList->CountWithFilter(), 0);
  // The list goes in the middle of a walk.
  for (const bool sorts : {false, true}) {
    auto* const list = FPatients->GetObjectList(FForm.Get());
    list->Add(meddler);
    list->Add(meddler);
    meddler->Act = [&] { list->Release(FForm.Get()); };
    if (sorts) {
      list->OrderBy("DESCRIPTION");
    } else {
      list->SetListFilter("DESCRIPTION = 'Y'");
    }
    EXPECT_EQ(meddler->Act, nullptr);
  }
  // So it does while it is searched; and who is asked may go itself.
  for (int search = 0; search < 4; ++search) {
    auto* const list = FPatients->GetObjectList(FForm.Get());
    for (int i = 0; i < 3; ++i) list->Add(meddler);
    list->Last();
    meddler->Act = [&] { list->Release(FForm.Get()); };
    if (search == 0) {
      EXPECT_EQ(list->ObjectWithAttrValue("DESCRIPTION", "Y"), nullptr);
    } else if (search == 1) {
      EXPECT_EQ(list->DeleteObjectsObjectWithAttrValue("DESCRIPTION", "X"), 0);
    } else if (search == 2) {
      list->UnionWithList(FList, "DESCRIPTION");
    } else {
      EXPECT_EQ(list->IndexOfObjectWithAttrValueAndMinDateAndEmptyValue("DESCRIPTION", "X", 0,
                                                                        "BORN", "DESCRIPTION"),
                -1);
    }
    EXPECT_EQ(meddler->Act, nullptr);
  }
  auto* const list = FPatients->GetObjectList(FForm.Get());
  auto* const passing = New<TpoMeddler>(FPatients, FForm.Get());
  list->Add(passing);
  passing->Release(FForm.Get());
  passing->Act = [&] { list->Delete(0); };
  list->GoToBookmark("0");
  EXPECT_EQ(Raised([&] { list->SetListFilter("DESCRIPTION = 'Y'"); }), "");
  EXPECT_TRUE(list->IsEmpty());
  list->Release(FForm.Get());
  meddler->Release(FForm.Get());
}

}  // namespace
}  // namespace perlayer
