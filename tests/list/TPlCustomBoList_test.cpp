// The edges of a list of objects; its everyday is in reclaim/LayerModel_test.cpp.

#include "perlayer/list/TPlCustomBoList.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "perlayer/list/TPlBoList.h"
#include "support/HospitalFixture.h"
#include "support/ModelTest.h"

namespace perlayer {
namespace {

// A member that the user may not always see.
class TpoMember : public TplPerObject {
  TCLASS(TpoMember, TplPerObject)
 public:
  TIAccessRights GetRights() override {
    return Hidden ? TIAccessRights{} : TIAccessRights{TIAccessRight::arScan};
  }
  void Name(const std::string& name) {
    data.InitData();
    data.SetAttrValue("NAME", name);
  }
  bool Hidden = false;
};

class TPlCustomBoListTest : public THospital {
 protected:
  TPlCustomBoListTest() {
    FList = New<TPlCustomBoList>(nullptr, FForm.Get());
    for (int i = 0; i < 8; ++i) {
      FMembers.push_back(New<TpoMember>(FPatients, FForm.Get()));
      FMembers.back()->Name(std::string(1, static_cast<char>('A' + i % 3)));
    }
  }
  ~TPlCustomBoListTest() override {
    FList->Release(FForm.Get());
    for (TpoMember* member : FMembers) {
      EXPECT_EQ(member->RefCount(), 1);
      member->Release(FForm.Get());
    }
  }
  std::vector<TplPerObject*> Entries() const {
    std::vector<TplPerObject*> entries;
    for (TplPerObject* object : *FList) entries.push_back(object);
    return entries;
  }

  TPlCustomBoList* FList;
  std::vector<TpoMember*> FMembers;
};

TEST_F(TPlCustomBoListTest, CursorAtItsEnds) {
  EXPECT_EQ(FList->CurrIndex(), 0);
  EXPECT_FALSE(FList->BOL());
  FList->First();
  EXPECT_TRUE(FList->BOL());
  EXPECT_FALSE(FList->EOL());
  EXPECT_EQ(FList->CurrObject(), nullptr);
  FList->GoToBookmark("5");
  EXPECT_EQ(FList->GetBookmark(), "-1");
  for (TpoMember* member : FMembers) FList->Add(member);
  FList->First();
  EXPECT_EQ(FList->CurrObject(), FMembers[0]);
  EXPECT_TRUE(FList->BOL());
  FList->Next();
  EXPECT_EQ(FList->CurrIndex(), 0);
  // The last object, hidden, is answered all the same; the cursor leaves it.
  FMembers[7]->Hidden = true;
  FList->Last();
  EXPECT_EQ(FList->LastObject(), FMembers[7]);
  EXPECT_EQ(FList->CurrIndex(), 6);
  FMembers[0]->Hidden = true;
  FList->First();
  EXPECT_EQ(FList->CurrObject(), FMembers[1]);
  EXPECT_EQ(FList->CurrIndex(), 1);
  FMembers[1]->Hidden = true;
  FList->ResyncCurrPosition();
  EXPECT_EQ(FList->CurrIndex(), -1);  // nobody to be seen before the one that it went to
  for (TpoMember* member : FMembers) member->Hidden = true;
  FList->Next();
  EXPECT_TRUE(FList->EOL());
  EXPECT_EQ(FList->CurrObject(), nullptr);
  FList->GoToBookmark("-1");
  EXPECT_EQ(FList->GetBookmark(), "7");
  FList->GoToBookmark("-7");
  EXPECT_EQ(FList->GetBookmark(), "0");
  FList->GoToBookmark("no number");
  EXPECT_EQ(FList->GetBookmark(), "0");
  FList->Clear();
  EXPECT_EQ(FList->GetBookmark(), "0");
}

TEST_F(TPlCustomBoListTest, IndicesAndSizes) {
  const auto index = [&](auto action) { return Raised([&] { action(); }); };
  EXPECT_EQ(index([&] { FList->Get(-1); }), "List index out of bounds (0)");
  for (int i = 0; i < 3; ++i) FList->Add(FMembers[static_cast<std::size_t>(i)]);
  EXPECT_EQ(FList->Get(-1), FMembers[0]);
  EXPECT_EQ(index([&] { FList->Get(-2); }), "List index out of bounds (-2)");
  EXPECT_EQ(index([&] { FList->Get(3); }), "List index out of bounds (3)");
  EXPECT_EQ(index([&] { FList->Delete(3); }), "List index out of bounds (3)");
  EXPECT_EQ(index([&] { FList->Insert(4, FMembers[0]); }), "List index out of bounds (4)");
  EXPECT_EQ(index([&] { FList->Exchange(7, 9); }), "List index out of bounds (7)");
  EXPECT_EQ(index([&] { FList->Move(0, 3); }), "List index out of bounds (3)");
  EXPECT_EQ(index([&] { FList->SetCapacity(2); }), "List capacity out of bounds (2)");
  EXPECT_EQ(index([&] { FList->SetCapacity(134217728); }),
            "List capacity out of bounds (134217728)");
  EXPECT_EQ(index([&] { FList->SetCount(-1); }), "List count out of bounds (-1)");
  std::string sizes;
  for (int i = 0, last = 0; i < 100; ++i) {
    FList->Insert(FList->Count(), FMembers[7]);
    if (FList->Capacity() == last) continue;
    last = FList->Capacity();
    sizes += std::to_string(last) + " ";
  }
  EXPECT_EQ(sizes, "4 8 12 28 44 60 76 95 118 ");
  FList->SetCount(105);
  EXPECT_EQ(FList->Get(104), nullptr);
  FList->Last();
  EXPECT_EQ(FList->LastObject(), nullptr);
  EXPECT_EQ(FList->NSCurrIndex(), 104);  // an empty entry moves nobody
  FList->Pack();
  EXPECT_EQ(FList->Count(), 103);
  // An entry that is overwritten keeps its reference, and nobody reads one whose object has gone.
  auto* const passing = New<TpoMember>(FPatients, FForm.Get());
  FList->Put(0, passing);
  EXPECT_EQ(passing->RefCount(), 1);
  EXPECT_EQ(FMembers[0]->RefCount(), 2);
  passing->Release(FForm.Get());
  EXPECT_EQ(FList->Get(0), nullptr);
  FMembers[0]->Release(FList);
  FList->Clear();
  EXPECT_EQ(FList->Capacity(), 0);
}

// Nothing that a list or an object needs for its end is allocated then; what somebody puts in while
// a list lets go of its members is let go of, too.
TEST_F(TPlCustomBoListTest, EndsWithoutMemoryAndWithAllItsMembers) {
  const auto fill = [&](TPlCustomBoList* list) {
    for (const char* id : {"1", "2"}) {
      THold<TpoPatient> patient = Patient(id);
      list->Add(patient.Get());
    }
    list->Add(FMembers[3]);
  };
  AddPatient(1, "Ana");
  AddPatient(2, "Bor");
  const std::int64_t live = TSlotTable::LiveCount();
  for (const bool ofProvider : {false, true}) {
    TPlCustomBoList* list = nullptr;
    if (ofProvider) {
      list = FPatients->GetObjectList(FForm.Get());
    } else {
      list = New<TPlCustomBoList>(nullptr, FForm.Get());
    }
    fill(list);
    {
      const TOutOfMemory none(0);
      list->Release(FForm.Get());
    }
    EXPECT_EQ(TSlotTable::LiveCount(), live);
    EXPECT_EQ(FMembers[3]->RefCount(), 1);
  }
  fill(FList);
  FList->Get(1)->aiOnBeforeFree(TNotifyEvent::From([&](TObject*) {
    FList->Insert(0, FMembers[4]);
    FList->Add(FMembers[5]);
  }));
  FList->Clear();
  EXPECT_TRUE(FList->IsEmpty());
  EXPECT_EQ(TSlotTable::LiveCount(), live);
}

// Events may do anything to the list that they speak of.
TEST_F(TPlCustomBoListTest, EventsThatChangeTheList) {
  struct TMeddler {
    TPlCustomBoList* list;
    std::vector<TpoMember*>* members;
    std::string log;
    void BeforeAdd(TObject* sender, TplPerObject* item) {
      EXPECT_EQ(sender, list);
      log += "add" +
             std::to_string(std::find(members->begin(), members->end(), item) - members->begin()) +
             " ";
    }
    void BeforeDelete(TObject*, TplPerObject* item) {
      list->aiOnBeforeDeleteItemFromList(nullptr);
      list->Insert(0, (*members)[5]);  // the entry moves
      if (item == (*members)[2]) list->Remove(item);
      if (item == (*members)[3]) throw Exception("no");
    }
  } meddler{FList, &FMembers, ""};
  FList->aiOnBeforeAddItemToList(TIBoListEvent::Bind<&TMeddler::BeforeAdd>(&meddler));
  for (int i = 1; i < 5; ++i) FList->Add(FMembers[static_cast<std::size_t>(i)]);
  FList->Insert(0, FMembers[0]);  // without the event
  EXPECT_EQ(meddler.log, "add1 add2 add3 add4 ");
  const auto meddle = [&](int index) {
    FList->aiOnBeforeDeleteItemFromList(TIBoListEvent::Bind<&TMeddler::BeforeDelete>(&meddler));
    FList->Delete(index);
    std::string text;
    for (TplPerObject* object : *FList) {
      text +=
          std::to_string(std::find(FMembers.begin(), FMembers.end(), object) - FMembers.begin());
    }
    return text;
  };
  EXPECT_EQ(meddle(1), "50234");
  EXPECT_EQ(meddle(2), "55034");
  EXPECT_EQ(Raised([&] { meddle(3); }), "no");
  EXPECT_EQ(Entries().size(), 6u);
}

}  // namespace
}  // namespace perlayer
