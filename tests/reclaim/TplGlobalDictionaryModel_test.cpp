// The identity map under random use, against a map from keys to objects.

#include <gtest/gtest.h>

#include <array>
#include <map>
#include <random>
#include <vector>

#include "perlayer/database/TplDatabaseSession.h"
#include "perlayer/list/TPlBoList.h"
#include "perlayer/platform/TSlotTable.h"
#include "perlayer/reclaim/TplGlobalDictionary.h"
#include "support/HospitalFixture.h"
#include "support/ModelTest.h"

namespace perlayer {
namespace {

constexpr int kIds = 12;
constexpr int kHolders = 3;

// What a live object is to be.
struct TModel {
  TplPerObject* object;
  std::map<TObject*, int> holds;  // by holder
  std::string name;
  std::string before;  // what a cancel returns to
  bool modified = false;

  int References() const {
    int sum = 0;
    for (const auto& [holder, count] : holds) sum += count;
    return sum;
  }
  void Load(const std::string& text) {
    name = text;
    modified = false;
  }
  void Edit(const std::string& text) {
    if (!modified) before = name;
    modified = true;
    name = text;
  }
};

class TDictionaryModel : public THospital, public testing::WithParamInterface<unsigned> {
 public:
  TDictionaryModel() {
    GlobalDictionary()->aiUSEDICTIONARY(true);
    IDatabaseSessionList();  // made before objects are counted
    for (TOwned<TScopeRetainer>& holder : FHolders) holder = Make<TScopeRetainer>();
  }

  int Below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(FRandom); }
  // Keys of which one is the beginning of another.
  std::string SomeId() { return std::to_string(1 + Below(kIds)); }
  // Few enough that names meet again.
  std::string SomeName() { return std::string(1, static_cast<char>('A' + Below(26))); }
  TObject* SomeHolder() { return FHolders[static_cast<std::size_t>(Below(kHolders))].Get(); }
  TModel* Some() {
    if (FLive.empty()) return nullptr;
    return &std::next(FLive.begin(), Below(Size(FLive)))->second;
  }
  std::string IdOf(const TModel& model) const {
    for (const auto& [id, other] : FLive) {
      if (&other == &model) return id;
    }
    return "";
  }

  // An object has been given to a holder: the live one of that ID or, if there is none, a new one.
  void Given(const std::string& id, TplPerObject* object, TObject* holder) {
    ASSERT_NE(object, nullptr) << id;
    const auto known = FLive.find(id);
    if (known == FLive.end()) {
      FLive[id] = {object, {}, FRows.at(id), ""};
    } else {
      ASSERT_EQ(object, known->second.object) << "a second live object of " << id;
    }
    ++FLive[id].holds[holder];
  }
  // A row has been fetched: an object that nobody edits takes its values.
  void Fetched(const std::string& id) {
    const auto known = FLive.find(id);
    if (known != FLive.end() && !known->second.modified) known->second.Load(FRows.at(id));
  }
  void LetGo(const std::string& id, TObject* holder) {
    TModel& model = FLive.at(id);
    if (--model.holds[holder] == 0) model.holds.erase(holder);
    if (model.References() == 0) FLive.erase(id);
  }

  template <class T>
  static int Size(const T& container) {
    return static_cast<int>(container.size());
  }
  static TplPerObject* MemberOf(TPlBoList* list, const std::string& id) {
    const int index = list->IndexOfObjectWithAttrValue("ID", id, 0, false);
    return index < 0 ? nullptr : list->Get(index);
  }
  std::vector<std::string> Members(TPlBoList* list) const {
    std::vector<std::string> ids;
    for (const auto& [id, model] : FLive) {
      if (model.holds.count(list) != 0) ids.push_back(id);
    }
    return ids;
  }
  void CheckMembers(TPlBoList* list) const {
    const std::vector<std::string> ids = Members(list);
    ASSERT_EQ(list->Count(), Size(ids));
    for (const std::string& id : ids) ASSERT_GE(list->IndexOf(FLive.at(id).object), 0);
  }

  // --- operations ---

  void ChangeRow() {
    const std::string id = SomeId();
    const double key = std::stod(id);
    const int what = Below(4);
    if (FRows.count(id) == 0) {
      AddPatient(key, FRows[id] = SomeName());
    } else if (what == 0) {
      Execute("delete from OMRA.PATIENT where ID = :ID", {key});
      FRows.erase(id);
    } else {
      SetPatient(key, "NAME", FRows[id] = SomeName());
    }
  }
  void Get() {
    const std::string id = SomeId();
    TObject* holder = SomeHolder();
    TplPerObject* object = FPatients->GetObject(holder, id, Below(2) == 0);
    if (FLive.count(id) == 0 && FRows.count(id) == 0) {
      EXPECT_EQ(object, nullptr);
    } else {
      Given(id, object, holder);
    }
  }
  // From memory by a name, in the order of the keys; otherwise from the row.
  void FetchByName() {
    const std::string name = SomeName();
    TObject* holder = SomeHolder();
    std::string found;
    for (const auto& [id, model] : FLive) {
      if (found.empty() && model.name == name) found = id;
    }
    int rows = 0;
    if (found.empty()) {
      for (const auto& [id, text] : FRows) {
        if (text != name) continue;
        found = id;
        ++rows;
      }
    }
    TplPerObject* object = nullptr;
    const std::string message =
        Raised([&] { object = FPatients->FetchObject(holder, "NAME = '" + name + "'", true); });
    EXPECT_EQ(message.empty(), rows < 2) << message;
    if (rows == 1) Fetched(found);
    if (!found.empty() && rows < 2) Given(found, object, holder);
  }
  void FetchByTwoConditions() {
    const std::string id = SomeId();
    TObject* holder = SomeHolder();
    TplPerObject* object =
        FPatients->FetchObject(holder, "ID = " + id + " and ACTIVE = '1'", false);
    if (FRows.count(id) == 0) {
      EXPECT_EQ(object, nullptr);
    } else {
      Fetched(id);
      Given(id, object, holder);
    }
  }
  void FetchList() {
    if (FLists.size() > 3) return;
    const int limit = Below(kIds) + 1;
    TPlBoList* list =
        FPatients->FetchObjectList(FForm.Get(), "ID <= " + std::to_string(limit), "", true);
    FLists.push_back({list, limit});
    for (const auto& [id, text] : FRows) {
      if (std::stoi(id) > limit) continue;
      Fetched(id);
      Given(id, MemberOf(list, id), list);
    }
    CheckMembers(list);
  }
  // Edits give way, rows come and go.
  void ReloadList() {
    if (FLists.empty()) return;
    const auto [list, limit] = FLists[static_cast<std::size_t>(Below(Size(FLists)))];
    list->Reload();
    for (const auto& [id, text] : FRows) {
      if (std::stoi(id) > limit) continue;
      const auto known = FLive.find(id);
      if (known != FLive.end()) known->second.Load(text);
      if (known == FLive.end() || known->second.holds.count(list) == 0) {
        Given(id, MemberOf(list, id), list);
      }
    }
    for (const std::string& id : Members(list)) {
      if (FRows.count(id) == 0 || std::stoi(id) > limit) LetGo(id, list);
    }
    CheckMembers(list);
  }
  void ReleaseList() {
    if (FLists.empty()) return;
    const auto which = FLists.begin() + Below(Size(FLists));
    TPlBoList* list = which->list;
    FLists.erase(which);
    for (const std::string& id : Members(list)) LetGo(id, list);
    list->Release(FForm.Get());
  }
  void Release() {
    TModel* model = Some();
    if (model == nullptr) return;
    TObject* holder = SomeHolder();
    if (model->holds.count(holder) == 0) return;
    TplPerObject* object = model->object;
    LetGo(IdOf(*model), holder);
    object->Release(holder);
  }
  void Edit() {
    if (TModel* model = Some()) {
      const std::string name = SomeName();
      if (name != model->name) model->Edit(name);
      model->object->SetAttrValue("NAME", name);
    }
  }
  void Cancel() {
    if (TModel* model = Some()) {
      if (model->modified) model->Load(model->before);
      model->object->CancelData();
    }
  }
  void TouchAndCancel() {
    if (TModel* model = Some()) {
      model->object->Touch();
      model->object->CancelData();
      if (model->modified) model->Load(model->before);
    }
  }
  void Reload() {
    TModel* model = Some();
    if (model == nullptr) return;
    const std::string id = IdOf(*model);
    if (Below(2) == 0) {
      model->object->Reload();
    } else {
      FPatients->ReloadObjectInGlobalDictionary(id, nullptr);
    }
    const auto row = FRows.find(id);
    model->Load(row == FRows.end() ? model->name : row->second);
    EXPECT_FALSE(model->object->GetModified());
    if (row == FRows.end()) {
      EXPECT_TRUE(model->object->aiObjectMarkedDeleted());
    }
  }
  void ChangeId() {
    TModel* model = Some();
    const std::string id = SomeId();
    if (model == nullptr || FLive.count(id) != 0) return;
    model->Edit(model->name);
    model->object->SetAttrValue("ID", id);
    auto node = FLive.extract(IdOf(*model));
    node.key() = id;
    FLive.insert(std::move(node));
  }
  // An object that was made past the map does not disturb it.
  void Stranger() {
    const std::string id = SomeId();
    TplPerObject* object;
    {
      const TUseDictionary off(false);
      object = FPatients->GetObject(FForm.Get(), id, true);
    }
    EXPECT_EQ(object == nullptr, FRows.count(id) == 0);
    if (object != nullptr) object->Release(FForm.Get());
  }

  void Check() {
    TplGlobalDictionary* dictionary = GlobalDictionary();
    ASSERT_EQ(dictionary->Count(), Size(FLive));
    int index = 0;
    for (const auto& [id, model] : FLive) {
      ASSERT_EQ(dictionary->GetPerObjectWithIndex(index), model.object);
      ASSERT_EQ(dictionary->Strings(index++), "PATIENT" + id);
      ASSERT_EQ(dictionary->TakeObject(FPatients, id), model.object);
      ASSERT_EQ(model.object->GetGID(), id);
      ASSERT_EQ(model.object->GetAttrValue("NAME"), model.name);
      ASSERT_EQ(model.object->GetModified(), model.modified);
      ASSERT_EQ(model.object->RefCount(), model.References());
    }
    ASSERT_TRUE(dictionary->aiUSEDICTIONARY());
  }

  std::mt19937 FRandom{GetParam()};
  std::array<TOwned<TScopeRetainer>, kHolders> FHolders;
  std::map<std::string, std::string> FRows;  // names by ID
  std::map<std::string, TModel> FLive;       // by ID
  struct TList {
    TPlBoList* list;
    int limit;
  };
  std::vector<TList> FLists;
};

TEST_P(TDictionaryModel, ARowHasOneLiveObject) {
  using TOperation = void (TDictionaryModel::*)();
  const std::vector<TOperation> kOperations = {
      &TDictionaryModel::ChangeRow, &TDictionaryModel::Get,
      &TDictionaryModel::Get,       &TDictionaryModel::FetchByName,
      &TDictionaryModel::Release,   &TDictionaryModel::FetchByTwoConditions,
      &TDictionaryModel::Release,   &TDictionaryModel::FetchList,
      &TDictionaryModel::Release,   &TDictionaryModel::ReleaseList,
      &TDictionaryModel::Edit,      &TDictionaryModel::Cancel,
      &TDictionaryModel::Reload,    &TDictionaryModel::TouchAndCancel,
      &TDictionaryModel::ChangeId,  &TDictionaryModel::Stranger,
      &TDictionaryModel::ReloadList};
  const std::int64_t live = TSlotTable::LiveCount();
  const int steps = ModelSteps(2000);
  for (int step = 0; step < steps && !HasFailure(); ++step) {
    const auto which = static_cast<std::size_t>(Below(Size(kOperations)));
    (this->*kOperations[which])();
    Check();
    if (HasFailure()) ADD_FAILURE() << "step " << step << ", operation " << which;
  }
  while (!FLists.empty()) ReleaseList();
  while (!FLive.empty() && !HasFailure()) Release();
  EXPECT_EQ(GlobalDictionary()->Count(), 0);
  EXPECT_EQ(TSlotTable::LiveCount(), live);
}

INSTANTIATE_TEST_SUITE_P(Seeds, TDictionaryModel, testing::Range(1u, 5u));

}  // namespace
}  // namespace perlayer
