#include "perlayer/corekit/TDataSet.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <random>

#include "perlayer/corekit/TDataLink.h"
#include "perlayer/corekit/TICustomDataSet.h"
#include "perlayer/corekit/TIDatabase.h"
#include "perlayer/corekit/TIQuery.h"
#include "perlayer/drivers/sqlite/TSqliteSession.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/TApplication.h"
#include "perlayer/platform/TStream.h"
#include "perlayer/platform/Text.h"
#include "perlayer/platform/Variant.h"
#include "support/Raised.h"
#include "support/TFaultPlan.h"
#include "support/TempDir.h"

namespace perlayer {
namespace {

struct TRow {
  int key;
  std::string name;
};
using TRows = std::vector<TRow>;

std::ptrdiff_t PlaceOf(const TRows& rows, int key) {
  const auto found =
      std::find_if(rows.begin(), rows.end(), [&](const TRow& row) { return row.key == key; });
  return found == rows.end() ? -1 : found - rows.begin();
}

// The smallest data set that can be edited: rows in a vector, told by their keys. Each step that a
// subclass may fail in goes by the fault plan.
class TRowsDataSet : public TICustomDataSet {
  TCLASS(TRowsDataSet, TICustomDataSet)
 public:
  void Create() {
    NewField(this, TFieldType::ftInteger, "ID", 0);
    NewField(this, TFieldType::ftString, "NAME", 10);
    NewField(this, TFieldType::ftString, "CALC", 12)->Calculated(true);
    BookmarkSize(sizeof(int));
  }
  TRows Rows;
  TFaultPlan Faults;
  bool Frozen = false;
  std::string Checked;

  bool GetFieldData(TField* field, void* buffer) override {
    const std::byte* const data = GetActiveRecordBuffer();
    if (data == nullptr) return false;
    if (field->Calculated()) return ReadCalcField(data + sizeof(THead), *field, buffer);
    const THead* head = Head(data);
    if (field->FieldNo() == 1) {
      if (head->hasKey && buffer != nullptr) std::memcpy(buffer, &head->key, sizeof head->key);
      return head->hasKey;
    }
    if (head->name[0] != '\0' && buffer != nullptr)
      std::strcpy(static_cast<char*>(buffer), head->name);
    return head->name[0] != '\0';
  }
  void SetFieldData(TField* field, const void* data) override {
    std::byte* const buffer = GetActiveRecordBuffer();
    if (field->Calculated()) return WriteCalcField(buffer + sizeof(THead), *field, data);
    THead* head = Head(buffer);
    if (field->FieldNo() == 1) {
      head->hasKey = data != nullptr;
      if (data != nullptr) std::memcpy(&head->key, data, sizeof head->key);
    } else {
      std::strcpy(head->name, data == nullptr ? "" : static_cast<const char*>(data));
    }
  }
  void FieldStandardCheck(TField* field) override { Checked += field->AsString() + " "; }

 protected:
  struct THead {
    int key;
    int place;
    bool hasKey;
    TBookmarkFlag flag;
    char name[42];
  };
  static THead* Head(std::byte* buffer) { return reinterpret_cast<THead*>(buffer); }
  static const THead* Head(const std::byte* buffer) {
    return reinterpret_cast<const THead*>(buffer);
  }

  void InternalOpen() override {
    Faults.Pass("open");
    FOpen = true;
    FCursor = -1;
  }
  void InternalClose() override { FOpen = false; }
  bool IsCursorOpen() override { return FOpen; }
  int GetRecordSize() override { return static_cast<int>(sizeof(THead)) + CalcFieldsSize(); }
  TRecordBuffer AllocRecordBuffer() override {
    Faults.Pass("alloc");
    return TDataSet::AllocRecordBuffer();
  }
  TGetResult GetRecord(TRecordBuffer buffer, TGetMode mode, bool) override {
    Faults.Pass("read");
    const auto end = static_cast<std::ptrdiff_t>(Rows.size());
    for (;;) {
      if (mode == TGetMode::gmNext) FCursor = std::min(FCursor + 1, end);
      if (mode == TGetMode::gmPrior) FCursor = std::max<std::ptrdiff_t>(FCursor - 1, -1);
      if (FCursor < 0) return TGetResult::grBOF;
      if (FCursor >= end) return TGetResult::grEOF;
      const TRow& row = Rows[static_cast<std::size_t>(FCursor)];
      THead head{row.key, row.key, true, TBookmarkFlag::bfCurrent, {}};
      std::strcpy(head.name, row.name.c_str());
      *Head(buffer) = head;
      GetCalcFields(buffer);
      if (FilterRecord(buffer)) return TGetResult::grOK;
      if (mode == TGetMode::gmCurrent) return TGetResult::grError;
    }
  }
  void InternalFirst() override { FCursor = -1; }
  void InternalLast() override { FCursor = static_cast<std::ptrdiff_t>(Rows.size()); }
  void InternalSetToRecord(TRecordBuffer buffer) override { GoTo(Head(buffer)->place); }
  void InternalGotoBookmark(const void* bookmark) override {
    int key;
    std::memcpy(&key, bookmark, sizeof key);
    GoTo(key);
  }
  void GetBookmarkData(TRecordBuffer buffer, void* data) override {
    std::memcpy(data, &Head(buffer)->place, sizeof(int));
  }
  void SetBookmarkData(TRecordBuffer buffer, const void* data) override {
    std::memcpy(&Head(buffer)->place, data, sizeof(int));
  }
  TBookmarkFlag GetBookmarkFlag(TRecordBuffer buffer) override { return Head(buffer)->flag; }
  void SetBookmarkFlag(TRecordBuffer buffer, TBookmarkFlag flag) override {
    Head(buffer)->flag = flag;
  }
  int GetRecordCount() override { return static_cast<int>(Rows.size()); }
  int GetRecNo() override {
    return static_cast<int>(PlaceOf(Rows, Head(ActiveBuffer())->place)) + 1;
  }
  void ClearCalcFields(TRecordBuffer buffer) override {
    std::memset(buffer + sizeof(THead), 0, static_cast<std::size_t>(CalcFieldsSize()));
  }
  bool GetCanModify() override { return !Frozen; }
  void InternalInitRecord(TRecordBuffer buffer) override { *Head(buffer) = THead{}; }
  void InternalInsert() override { Faults.Pass("insert"); }
  void InternalEdit() override { Faults.Pass("edit"); }
  void InternalCancel() override { Faults.Pass("cancel"); }
  void InternalPost() override {
    Faults.Pass("post");
    THead* const head = Head(ActiveBuffer());
    if (PlaceOf(Rows, head->key) >= 0 &&
        (State() == TDataSetState::dsInsert || head->key != head->place)) {
      RaiseError(Format("There is a row %d already", head->key));
    }
    const TRow row{head->key, head->name};
    if (State() == TDataSetState::dsEdit) {
      Rows[static_cast<std::size_t>(FCursor)] = row;
    } else {
      const auto before = head->flag == TBookmarkFlag::bfInserted
                              ? Rows.begin() + PlaceOf(Rows, head->place)
                              : Rows.end();
      Rows.insert(before, row);
    }
    head->place = head->key;
    head->flag = TBookmarkFlag::bfCurrent;
  }
  void InternalDelete() override {
    Faults.Pass("delete");
    Rows.erase(Rows.begin() + FCursor);
  }
  void InternalRefresh() override { Faults.Pass("refresh"); }

 private:
  void GoTo(int key) {
    const std::ptrdiff_t place = PlaceOf(Rows, key);
    FCursor = place < 0 ? static_cast<std::ptrdiff_t>(Rows.size()) : place;
  }
  bool FOpen = false;
  std::ptrdiff_t FCursor = -1;
};

// What the current row shows.
std::string Shown(const TDataSet& data) {
  const TField* calculated = data.FindField("CALC");
  return data.FieldByName("ID")->AsString() + "=" + data.FieldByName("NAME")->AsString() +
         (calculated == nullptr ? "" : "/" + calculated->AsString());
}

// Keeps a picture of what it shows, up to date by nothing but what it hears.
class TWatcher : public TDataLink {
  TCLASS(TWatcher, TDataLink)
 public:
  std::vector<std::string> Picture;
  std::vector<std::string> Now() {
    std::vector<std::string> rows;
    if (!Active()) return rows;
    const int active = ActiveRecord();
    for (int i = 0; i < RecordCount(); ++i) {
      ActiveRecord(i);
      rows.push_back(Shown(*DataSet()));
    }
    if (!rows.empty()) ActiveRecord(active);
    return rows;
  }

 protected:
  void ActiveChanged() override { Picture = Now(); }
  void RecordChanged(TField*) override { Picture = Now(); }
  void DataSetScrolled(int distance) override {
    const std::vector<std::string> now = Now();
    for (int i = 0; i < static_cast<int>(now.size()); ++i) {
      const int before = i + distance;
      if (before < 0 || before >= static_cast<int>(Picture.size())) continue;
      EXPECT_EQ(now[static_cast<std::size_t>(i)], Picture[static_cast<std::size_t>(before)]);
    }
    Picture = now;
  }
};

// A data set, links, and beside them the same as a plain array. Each step does one operation on
// both and compares.
class TDataSetModel {
 public:
  TDataSetModel(TDataSet& data, TFaultPlan& faults, TRows rows, unsigned seed)
      : FData(data), FFaults(faults), FRows(std::move(rows)), FRandom(seed) {}
  virtual ~TDataSetModel() = default;

  void Run(int steps) {
    FHasCalc = FData.FindField("CALC") != nullptr;
    if (FHasCalc) {
      FData.OnCalcFields(TNotifyEvent::From([](TObject* sender) {
        auto* data = static_cast<TDataSet*>(sender);
        data->FieldByName("CALC")->AsString(data->FieldByName("NAME")->AsString() + "!");
      }));
    }
    FData.OnFilterRecord(TFilterRecordEvent::From([](TDataSet* data, bool& accept) {
      accept = data->FieldByName("ID")->AsInteger() % 3 != 0;
    }));
    Open();
    for (FStep = 0; FStep < steps && !testing::Test::HasFailure(); ++FStep) {
      SCOPED_TRACE(Format("step %d: %s", FStep, FWhat));
      const bool fault = Below(12) == 0;
      if (fault) FFaults.FailAt(1 + Below(8));
      bool failed = false;
      try {
        Step();
      } catch (const EPlannedFault& e) {
        FWhat += std::string(" failed: ") + e.what();
        failed = true;
      }
      FFaults.FailAt(0);
      SCOPED_TRACE(FWhat);
      if (failed) {
        Recover();
      }
      Compare();
    }
    FWatchers.clear();
  }

 protected:
  // Adds the row at the end, or deletes the one of that key, behind the data set's back.
  virtual void Change(const TRow* added, int deleted) = 0;
  virtual TRows Stored() = 0;
  virtual bool Editable() = 0;

  int Below(int limit) {
    return limit <= 0 ? 0 : static_cast<int>(FRandom() % static_cast<unsigned>(limit));
  }
  TFaultPlan& Faults() { return FFaults; }

 private:
  TRows Seen() const {
    TRows seen;
    for (const TRow& row : FRows) {
      if (!FData.Filtered() || row.key % 3 != 0) seen.push_back(row);
    }
    return seen;
  }
  int Count() const { return static_cast<int>(Seen().size()); }
  int KeyAt(int place) const { return Seen()[static_cast<std::size_t>(place)].key; }
  int NumberAt(int place) const { return static_cast<int>(PlaceOf(FRows, KeyAt(place))) + 1; }
  int NewKey() {
    FNextKey += 1 + static_cast<int>((FNextKey + 1) % 3 == 0);  // one that the filter lets through
    return FNextKey;
  }
  std::string RowText(const TRow& row) const {
    return IntToStr(row.key) + "=" + row.name + (FHasCalc ? "/" + row.name + "!" : "");
  }

  void Stand(int place, bool bof, bool eof) {
    FPlace = place;
    FBof = bof || Count() == 0;
    FEof = eof || Count() == 0;
  }
  void StandAtKey(int key) { Stand(static_cast<int>(PlaceOf(Seen(), key)), false, false); }

  void Open() {
    FData.Open();
    FRows = Stored();
    FDirect = !Editable() && FWatchers.empty() && !FData.Filtered() && !FHasCalc;
    FBookmarks.clear();
    Stand(0, true, false);
  }
  void Recover() {
    FData.Cancel();
    if (!FData.Active()) return Open();
    FData.Refresh();
    FRows = Stored();
    FDirect = false;
    FBookmarks.clear();
    FData.First();
    Stand(0, true, false);
  }

  void Step() {
    const int what = Below(Editable() ? 17 : 14);
    const bool onRow = Count() > 0;
    switch (what) {
      case 0:
        FWhat = "First";
        FData.First();
        return Stand(0, true, false);
      case 1:
        FWhat = "Last";
        FData.Last();
        FDirect = false;
        return Stand(Count() - 1, false, true);
      case 2:
      case 3:
      case 4:
      case 5: {
        const int distance = what == 2 ? 1 : what == 3 ? -1 : Below(21) - 10;
        FWhat = Format("MoveBy %d", distance);
        const bool possible = onRow && (distance > 0 ? !FEof : distance < 0 && !FBof);
        int expected = 0;
        if (possible) {
          const int wanted = FPlace + distance;
          const int place = std::clamp(wanted, 0, Count() - 1);
          expected = std::abs(place - FPlace);
          if (distance < 0) FDirect = false;
          const int moved = FData.MoveBy(distance);
          EXPECT_EQ(moved, expected);
          return Stand(place, wanted<place, wanted> place);
        }
        EXPECT_EQ(FData.MoveBy(distance), 0);
        return;
      }
      case 6: {
        FWhat = "GetBookmark";
        const TBookmark bookmark = FData.GetBookmark();
        FDirect = FDirect && onRow && !FEof;
        EXPECT_FALSE(FData.BookmarkValid(bookmark + "x"));
        EXPECT_EQ(bookmark.empty(), !onRow);
        if (!onRow) return;
        for (const auto& [key, other] : FBookmarks) {
          const auto place = PlaceOf(Seen(), key);
          if (place < 0 || Editable()) continue;
          EXPECT_EQ(FData.CompareBookmarks(bookmark, other) > 0, FPlace > place);
        }
        FBookmarks[KeyAt(FPlace)] = bookmark;
        return;
      }
      case 7: {
        if (FBookmarks.empty()) return;
        auto bookmark = FBookmarks.begin();
        std::advance(bookmark, Below(static_cast<int>(FBookmarks.size())));
        FWhat = Format("GotoBookmark %d", bookmark->first);
        const bool there = PlaceOf(Seen(), bookmark->first) >= 0;
        EXPECT_EQ(FData.BookmarkValid(bookmark->second), there);
        if (!there) {
          EXPECT_NE(Raised([&] { FData.GotoBookmark(bookmark->second); }), "");
          return;
        }
        FData.GotoBookmark(bookmark->second);
        return StandAtKey(bookmark->first);
      }
      case 8: {
        const int key = Below(FNextKey + 2);
        FWhat = Format("Locate %d", key);
        const auto place = PlaceOf(Seen(), key);
        const bool there = place >= 0;
        FDirect = false;
        const Variant name = FData.Lookup("ID", key, "NAME");
        EXPECT_EQ(name.IsNull(), !there);
        if (there) {
          EXPECT_EQ(name.AsText(), Seen()[static_cast<std::size_t>(place)].name);
        }
        EXPECT_EQ(FData.Locate("NAME; id", VarArrayOf({there ? name : Variant("-"), key}), {}),
                  there);
        if (there) StandAtKey(key);
        return;
      }
      case 9: {
        if (FWatchers.size() > 2 || Below(3) == 0) {
          FWhat = "a link goes";
          if (!FWatchers.empty())
            FWatchers.erase(FWatchers.begin() + Below(static_cast<int>(FWatchers.size())));
          return;
        }
        FWhat = "a link comes";
        auto watcher = Make<TWatcher>();
        watcher->BufferCount(1 + Below(9));
        watcher->DataSet(&FData);
        FWatchers.push_back(std::move(watcher));
        FDirect = false;
        return;
      }
      case 10: {
        if (FWatchers.empty()) return;
        TWatcher& watcher =
            *FWatchers[static_cast<std::size_t>(Below(static_cast<int>(FWatchers.size())))];
        const int rows = 1 + Below(12);
        FWhat = Format("BufferCount %d", rows);
        watcher.BufferCount(rows);
        watcher.Picture = watcher.Now();
        return;
      }
      case 11: {
        if (Below(3) > 0) return;
        if (FData.ControlsDisabled()) {
          FWhat = "EnableControls";
          FData.EnableControls();
        } else {
          FWhat = "DisableControls";
          FData.DisableControls();
          if (Below(2) == 0) FData.DisableControls();
        }
        return;
      }
      case 12: {
        if (Below(3) == 0) {
          FWhat = "Filtered";
          FData.Filtered(!FData.Filtered());
          FDirect = false;
          return Stand(0, true, false);
        }
        if (Below(4) == 0) {
          FWhat = "Close and Open";
          FData.Close();
          return Open();
        }
        FWhat = "numbers";
        const int now = onRow ? NumberAt(FPlace) : 0;
        EXPECT_EQ(FData.RecNo(), now);
        FDirect = FDirect && onRow && !FEof;
        if (Below(2) == 0) return;
        EXPECT_EQ(FData.RecordCount(), static_cast<int>(FRows.size()));
        FDirect = false;
        const int wanted = Below(static_cast<int>(FRows.size()) + 2);
        FWhat = Format("RecNo %d", wanted);
        if (!onRow || wanted == now) return;
        FData.RecNo(wanted);
        const bool up = wanted > now;
        if (up ? FEof : FBof) return;
        int place = FPlace;
        while (place >= 0 && place < Count() &&
               (up ? NumberAt(place) < wanted : NumberAt(place) > wanted)) {
          place += up ? 1 : -1;
        }
        return Stand(std::clamp(place, 0, Count() - 1), place < 0, place >= Count());
      }
      case 13: {
        const int current = onRow ? KeyAt(FPlace) : 0;
        const int deleted = Below(FNextKey + 1);
        const TRow added{NewKey(), "ext"};
        FWhat = Format("Refresh: %d added, %d deleted", added.key, deleted);
        Change(&added, deleted == current ? 0 : deleted);
        FData.Refresh();
        FRows = Stored();
        FDirect = false;
        if (!Editable()) FBookmarks.clear();
        if (onRow) return StandAtKey(current);
        return Stand(0, false, false);
      }
      case 14: {
        if (!onRow) return;
        FWhat = "Edit";
        FData.Edit();
        FData.FieldByName("NAME")->AsString(Format("e%d", FStep));
        EXPECT_TRUE(FData.Modified());
        return Finish();
      }
      case 15: {
        const bool append = Below(2) == 0;
        FWhat = append ? "Append" : "Insert";
        append ? FData.Append() : FData.Insert();
        EXPECT_TRUE(FData.FieldByName("ID")->IsNull());
        FData.FieldByName("ID")->AsFloat(NewKey());
        FData.FieldByName("NAME")->AsString(Format("i%d", FStep));
        const int before = onRow ? KeyAt(FPlace) : 0;
        const int key = FNextKey;
        if (Below(3) == 0) {
          FWhat += ", Cancel";
          FData.Cancel();
          return Stand(append ? Count() - 1 : std::max(FPlace, 0), false, false);
        }
        FData.Post();
        const std::ptrdiff_t place = append ? -1 : PlaceOf(FRows, before);
        FRows.insert(place < 0 ? FRows.end() : FRows.begin() + place, {key, Format("i%d", FStep)});
        return StandAtKey(key);
      }
      default: {
        if (!onRow) return;
        FWhat = "Delete";
        if (Below(3) == 0) FData.Edit();
        FData.Delete();
        FRows.erase(FRows.begin() + PlaceOf(FRows, KeyAt(FPlace)));
        return Stand(std::min(FPlace, Count() - 1), false, false);
      }
    }
  }

  // Ends an edit in one of the ways there are.
  void Finish() {
    const int way = Below(3);
    if (way == 0) {
      FWhat += ", Cancel";
      FData.Cancel();
    } else if (way == 1) {
      FWhat += ", Post";
      FData.Post();
    } else {
      FWhat += ", CheckBrowseMode";
      FData.CheckBrowseMode();
    }
    if (way > 0) {
      FRows[static_cast<std::size_t>(PlaceOf(FRows, KeyAt(FPlace)))].name = Format("e%d", FStep);
    }
    Stand(FPlace, false, false);
  }

  void Compare() {
    const TRows seen = Seen();
    EXPECT_EQ(FData.State(), TDataSetState::dsBrowse);
    EXPECT_EQ(FData.Bof(), FBof);
    EXPECT_EQ(FData.Eof(), FEof);
    EXPECT_EQ(FData.IsEmpty(), seen.empty());
    const int count = static_cast<int>(seen.size());
    if (count > 0 && !(FDirect && FEof)) {
      EXPECT_EQ(Shown(FData), RowText(seen[static_cast<std::size_t>(FPlace)]));
    }
    for (const auto& watcher : FWatchers) {
      if (!FData.ControlsDisabled()) {
        ASSERT_EQ(watcher->RecordCount(), std::min(watcher->BufferCount(), count));
        const std::vector<std::string> now = watcher->Now();
        EXPECT_EQ(watcher->Picture, now) << "it has not heard of a change";
        const int first = FPlace - watcher->ActiveRecord();
        for (int i = 0; i < static_cast<int>(now.size()); ++i) {
          ASSERT_TRUE(first + i >= 0 && first + i < count);
          EXPECT_EQ(now[static_cast<std::size_t>(i)],
                    RowText(seen[static_cast<std::size_t>(first + i)]));
        }
      }
    }
  }

  TDataSet& FData;
  TFaultPlan& FFaults;
  TRows FRows;  // as the data set has them
  std::mt19937 FRandom;
  std::vector<TOwned<TWatcher>> FWatchers;
  std::map<int, TBookmark> FBookmarks;
  std::string FWhat;
  int FStep = 0;
  int FPlace = 0;
  int FNextKey = 40;
  bool FBof = true;
  bool FEof = true;
  bool FDirect = false;
  bool FHasCalc = false;
};

TRows SomeRows(unsigned seed) {
  TRows rows;
  const int count = seed % 5 == 0 ? static_cast<int>(seed % 3) : static_cast<int>(seed % 37);
  for (int i = 1; i <= count; ++i) rows.push_back({i, "n" + IntToStr(i * 7 % 40)});
  return rows;
}

class TRowsModel : public TDataSetModel {
 public:
  TRowsModel(TRowsDataSet& data, unsigned seed)
      : TDataSetModel(data, data.Faults, data.Rows, seed), FSet(data) {}

 protected:
  void Change(const TRow* added, int deleted) override {
    FSet.Rows.push_back(*added);
    std::erase_if(FSet.Rows, [&](const TRow& row) { return row.key == deleted; });
  }
  TRows Stored() override { return FSet.Rows; }
  bool Editable() override { return true; }

 private:
  TRowsDataSet& FSet;
};

TEST(TDataSet, BehavesAsAnArrayWhateverIsDoneAndFails) {
  for (unsigned seed = 1; seed <= 30 && !testing::Test::HasFailure(); ++seed) {
    SCOPED_TRACE(Format("seed %d", seed));
    const auto data = Make<TRowsDataSet>();
    data->Rows = SomeRows(seed);
    TRowsModel(*data, seed).Run(400);
  }
}

// A query on a table of the same rows, by a session whose calls fail as planned.
class TQueryModel : public TDataSetModel {
 public:
  TQueryModel(TIQuery& query, TFaultPlan& faults, unsigned seed)
      : TDataSetModel(query, faults, {}, seed) {}

 protected:
  static void Execute(const std::string& sql) {
    const auto query = Make<TIQuery>();
    query->DatabaseName("_QOR");
    query->SQLText(sql);
    query->ExecSQL();
  }
  void Change(const TRow* added, int deleted) override {
    Execute(Format("insert into T (ID, NAME) values (%d, '%s')", added->key, added->name));
    Execute(Format("delete from T where ID = %d", deleted));
    const auto database = FindDatabase("_QOR");
    if (Below(2) == 0) database->Commit("test");
  }
  TRows Stored() override {
    TRows rows;
    const auto query = Make<TIQuery>();
    query->DatabaseName("_QOR");
    query->SQLText("select ID, NAME from T order by ID");
    for (query->Open(); !query->Eof(); query->Next()) {
      rows.push_back(
          {static_cast<int>(query->Fields(0)->AsInteger()), query->Fields(1)->AsString()});
    }
    return rows;
  }
  bool Editable() override { return false; }
};

TEST(TDataSet, AQueryBehavesAsAnArrayToo) {
  for (unsigned seed = 1; seed <= 20 && !testing::Test::HasFailure(); ++seed) {
    SCOPED_TRACE(Format("seed %d", seed));
    const TTempDir directory;
    TFaultPlan faults;
    const auto database = Make<TIDatabase>(
        "_QOR", std::make_unique<TFaultySession>(
                    std::make_unique<TSqliteSession>(directory.File("test.db")), faults));
    const auto execute = Make<TIQuery>();
    execute->DatabaseName("_QOR");
    execute->SQLText("create table T (ID number(9) primary key, NAME varchar2(10))");
    execute->ExecSQL();
    execute->SQLText("insert into T (ID, NAME) values (:ID, :NAME)");
    for (const TRow& row : SomeRows(seed)) {
      execute->ParamByName("ID").AsFloat(row.key);
      execute->ParamByName("NAME").AsString(row.name);
      execute->ExecSQL();
    }
    database->Commit("fixture");
    const auto query = Make<TIQuery>();
    query->DatabaseName("_QOR");
    query->SQLText("select ID, NAME from T where ID > :LOW order by ID");
    query->Params(0).AsFloat(0);
    if (seed % 3 == 0) {
      NewField(query.Get(), TFieldType::ftInteger, "ID", 0);
      NewField(query.Get(), TFieldType::ftString, "NAME", 10);
      NewField(query.Get(), TFieldType::ftString, "CALC", 12)->Calculated(true);
    }
    TQueryModel(*query, faults, seed).Run(300);
    query->Close();
  }
}

// --- editing ---

class TDataSetEditing : public testing::Test {
 protected:
  TDataSetEditing() {
    FData->Rows = {{1, "a"}, {2, "b"}, {3, "c"}};
    FData->Open();
  }
  std::string Said(const std::function<void()>& action) {
    const std::string message = Raised(action);
    return message.substr(0, message.find(" (code"));
  }
  TField* Id() { return FData->FieldByName("ID"); }
  TField* Name() { return FData->FieldByName("NAME"); }

  TOwned<TRowsDataSet> FData = Make<TRowsDataSet>();
};

TEST_F(TDataSetEditing, WhatCannotBeDoneSaysWhy) {
  const std::string busy =
      "A data set cannot be moved while one of its rows is filtered or calculated";
  EXPECT_EQ(Said([&] { Name()->AsString("x"); }),
            "Field NAME cannot be modified: the data set is not in edit or insert state");
  EXPECT_EQ(Said([&] { FData->Post(); }), "The data set is not in edit or insert state");
  FData->Frozen = true;
  for (const auto& operation :
       {&TDataSet::Edit, &TDataSet::Insert, &TDataSet::Append, &TDataSet::Delete}) {
    EXPECT_EQ(Said([&] { (FData.Get()->*operation)(); }), "This data set cannot be modified");
  }
  FData->Frozen = false;
  EXPECT_EQ(Said([&] { FData->Locate("ID;NAME", Variant(1), {}); }),
            "Locate: there are 2 key fields and 1 values");
  Name()->Required(true);
  FData->Append();
  Id()->AsFloat(4);
  EXPECT_EQ(Said([&] { FData->First(); }), "Field 'NAME' must have a value");
  EXPECT_EQ(FData->State(), TDataSetState::dsInsert) << "what was entered is still there";
  FData->Cancel();
  FData->Cancel();
  FData->OnFilterRecord(TFilterRecordEvent::From([&](TDataSet* data, bool&) {
    EXPECT_EQ(Said([&] { data->Next(); }), busy);
    EXPECT_EQ(Said([&] { data->Delete(); }), busy);
    EXPECT_EQ(Said([&] { data->BookmarkValid(TBookmark(sizeof(int), '\1')); }), busy);
  }));
  FData->Filtered(true);
  EXPECT_EQ(Said([&] {
              FData->OnFilterRecord(
                  TFilterRecordEvent::From([](TDataSet*, bool&) { throw Exception("no row"); }));
            }),
            "no row");
  EXPECT_TRUE(FData->IsEmpty());
  FData->Filtered(false);
  EXPECT_EQ(FData->RecordCount(), 3);
}

TEST_F(TDataSetEditing, AValueIsCheckedBeforeAndToldAfterItIsStored) {
  std::string seen;
  Name()->OnValidate(TNotifyEvent::From([&](TObject* sender) {
    seen += "validate " + static_cast<TField*>(sender)->AsString() + ";";
    if (static_cast<TField*>(sender)->AsString() == "bad") throw Exception("refused");
  }));
  Name()->OnChange(TNotifyEvent::From([&](TObject* sender) {
    seen += "change " + static_cast<TField*>(sender)->AsString() + ";";
  }));
  FData->Edit();
  EXPECT_EQ(Said([&] { Name()->AsString("bad"); }), "refused");
  EXPECT_FALSE(FData->Modified());
  Name()->AsString("new");
  EXPECT_EQ(seen, "validate bad;validate new;change new;");
  EXPECT_EQ(FData->Checked, "new ");
  FData->Post();
  EXPECT_EQ(FData->Rows[0].name, "new");

  using enum TBlobStreamMode;
  EXPECT_EQ(FData->CreateBlobStream(Name(), bmRead)->ReadRest(), "new");
  EXPECT_THROW(FData->CreateBlobStream(Name(), bmRead)->WriteText("x"), EStreamError);
  EXPECT_NE(Said([&] { FData->CreateBlobStream(Name(), bmWrite); }), "");
  FData->Edit();
  FData->CreateBlobStream(Name(), bmReadWrite)->WriteText("kn");
  EXPECT_EQ(Name()->AsString(), "knw");
}

TEST_F(TDataSetEditing, AFieldMayBeWrittenAndFreedByItsOwnEvents) {
  const auto link = Make<TDataLink>();
  link->DataSet(FData.Get());
  std::string seen;
  Name()->OnValidate(TNotifyEvent::From([&](TObject* sender) {
    auto* field = static_cast<TField*>(sender);
    if (field->AsString() != "outer") return;
    field->AsString("inner");
    EXPECT_EQ(field->AsString(), "outer") << "it is still being validated";
  }));
  Name()->OnChange(TNotifyEvent::From(
      [&](TObject* sender) { seen += static_cast<TField*>(sender)->AsString() + ";"; }));
  FData->Edit();
  Name()->AsString("outer");
  EXPECT_EQ(seen, "inner;outer;");
  Id()->OnChange(TNotifyEvent::From([](TObject* sender) { sender->Free(); }));
  Id()->AsFloat(7);
  EXPECT_EQ(FData->FindField("ID"), nullptr);
  EXPECT_EQ(Name()->AsString(), "outer") << "it still tells its own column";
  FData->Post();
  EXPECT_EQ(FData->Rows[0].key, 7);
  FData->Rows[1].name = "";
  EXPECT_TRUE(FData->Locate("NAME", "", {})) << "an empty text is null";
  EXPECT_EQ(FData->RecNo(), 2);
  FData->RecNo(std::numeric_limits<int>::min());
  EXPECT_TRUE(FData->Bof());
  EXPECT_NE(Said([&] { FData->GotoBookmark("?"); }), "");
}

TEST_F(TDataSetEditing, ARefusedPostMayBeCuredTriedAgainOrGivenUp) {
  FData->Edit();
  Id()->AsFloat(2);
  EXPECT_EQ(Said([&] { FData->Next(); }), "There is a row 2 already");
  EXPECT_EQ(FData->State(), TDataSetState::dsEdit);
  EXPECT_EQ(Id()->AsInteger(), 2);
  TDataAction answer = TDataAction::daAbort;
  FData->OnError(
      TDataSetOperation::post,
      TDataSetErrorEvent::From([&](TDataSet*, const EDatabaseError&, TDataAction& action) {
        if (answer == TDataAction::daRetry) FData->Rows.erase(FData->Rows.begin() + 1);
        action = answer;
      }));
  EXPECT_THROW(FData->Post(), EAbort);
  answer = TDataAction::daRetry;
  FData->Post();
  EXPECT_EQ(FData->Rows.size(), 2u);
  EXPECT_EQ(Shown(*FData), "2=a/");
}

// A control with a text that is typed and not yet in its field.
class TTyping : public TDataLink {
  TCLASS(TTyping, TDataLink)
 public:
  std::function<void()> OnAsk;
  std::function<void()> OnTell;

 protected:
  void UpdateData() override {
    if (OnAsk) OnAsk();
  }
  void DataSetChanged() override {
    if (OnTell) OnTell();
  }
};

TEST_F(TDataSetEditing, LinksAreAskedBeforeEditingEndsAndMayForbidIt) {
  const auto link = Make<TTyping>();
  link->DataSet(FData.Get());
  std::string typed;
  link->OnAsk = [&] {
    if (typed == "?") throw Exception("not a name");
    if (!typed.empty()) Name()->AsString(typed);
  };
  EXPECT_TRUE(link->Edit());
  EXPECT_TRUE(link->Editing());
  typed = "?";
  EXPECT_EQ(Said([&] { FData->Last(); }), "not a name");
  EXPECT_EQ(FData->State(), TDataSetState::dsEdit);
  typed = "typed";
  FData->Last();
  EXPECT_EQ(FData->Rows[0].name, "typed");
  typed = "";
  link->Edit();
  FData->Prior();
  EXPECT_EQ(FData->Rows[2].name, "c") << "nothing modified, nothing posted";
}

TEST_F(TDataSetEditing, LinksMayFailGoAndTakeTheDataSetWithThemWhenTheyAreTold) {
  std::string reported;
  Application()->OnException(TExceptionEvent::From(
      [&](TObject*, const std::exception& e) { reported += std::string(e.what()) + ";"; }));
  auto first = Make<TTyping>();
  auto second = Make<TTyping>();
  auto third = Make<TWatcher>();
  for (TDataLink* link :
       {static_cast<TDataLink*>(first.Get()), static_cast<TDataLink*>(second.Get()),
        static_cast<TDataLink*>(third.Get())}) {
    link->BufferCount(3);
    link->DataSet(FData.Get());
  }
  first->OnTell = [] { throw Exception("broken"); };
  second->OnTell = [&] {
    second->DataSet(nullptr);
    first.Reset();
  };
  FData->Next();
  FData->Next();
  EXPECT_EQ(reported, "broken;");
  EXPECT_EQ(third->Picture, third->Now());
  EXPECT_EQ(FData->RecNo(), 3);
  second->DataSet(FData.Get());
  second->OnTell = [&] { FData.Reset(); };
  FData->Prior();
  EXPECT_FALSE(FData);
  EXPECT_EQ(third->DataSet(), nullptr);
  EXPECT_FALSE(third->Active());
}

}  // namespace
}  // namespace perlayer
