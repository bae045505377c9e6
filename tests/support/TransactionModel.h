#pragma once
// Objects, their rows and a counted transaction, as plain values: what saving, deleting and
// cancelling are to make of them.

#include <algorithm>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace perlayer {

using TModelValues = std::map<std::string, std::string>;

// What one object is to be.
struct TObjectModel {
  // A value that is there already is written, too: the first write keeps what was before.
  void Write(const std::string& name, const std::string& text) {
    if (!changed) old = value;
    changed = true;
    if (value[name] != text) modified = true;
    value[name] = text;
  }
  void Edit(const std::string& name, const std::string& text) {
    if (value[name] != text && !modified) Touch();
    Write(name, text);
  }
  void Touch() { modified = whole = true; }
  // The row's values; what was edited is over.
  void Load(const TModelValues& row) {
    value = row;
    changed = modified = false;
    whole = true;
  }
  bool IsTemporary() const { return id.starts_with("-"); }

  std::string id;
  TModelValues value;
  TModelValues old;       // from before the first change
  bool logical = false;   // deleting deactivates
  bool required = false;  // no save without a name
  bool changed = false;   // there are old values
  bool whole = true;      // the next statement writes all columns
  bool isNew = true;
  bool modified = false;
  bool oldModified = false;
  bool oldNew = false;
  bool unconfirmed = false;
  bool marked = false;
  bool deleting = false;
  bool deleted = false;
  std::string oldActive;
};

class TTransactionModel {
 public:
  using TRows = std::map<std::string, TModelValues>;  // by ID

  void Start() { ++FCount; }
  // False when a save of the commit's own has failed: the transaction stays open.
  bool Commit() {
    if (FCount > 1) {
      --FCount;
      return true;
    }
    const std::size_t told = FCount == 1 ? FList.size() : 0;
    for (std::size_t i = 0; i < told; ++i) {
      if (IsModified(*FList[i]) && !Save(*FList[i])) return false;
    }
    committed = rows;
    for (TObjectModel* object : FList) {
      object->modified = object->isNew = object->changed = object->unconfirmed = false;
      if (object->deleting) object->deleted = true;
    }
    FList.clear();
    FCount = 0;
    return true;
  }
  void Rollback() {
    if (FCount != 1) {
      FCount = std::max(FCount - 1, 0);
      return;
    }
    rows = committed;
    for (TObjectModel* object : FList) {
      object->modified = object->oldModified;
      object->isNew = object->oldNew;
      if (object->logical && !object->oldActive.empty()) object->Write("ACTIVE", object->oldActive);
      object->unconfirmed = false;
    }
    FList.clear();
    FCount = 0;
  }
  bool Save(TObjectModel& object) {
    if (!IsModified(object) && !object.isNew) return true;
    Start();
    if (object.marked) object.modified = true;
    if ((object.marked ? Delete(object) : Statement(object)) && Commit()) {
      object.modified = false;
      return true;
    }
    Rollback();
    return false;
  }
  bool Delete(TObjectModel& object) {
    if (!object.isNew && !object.logical) Keep(object);
    const bool edits = !object.isNew && !object.modified;
    const bool cancels = edits && !IsModified(object);
    if (edits) object.Touch();
    object.deleting = true;
    Start();
    bool done = true;
    if (!object.isNew && object.logical) {
      object.oldActive = object.value["ACTIVE"];
      object.Write("ACTIVE", "0");
      done = Statement(object);
      if (!done) object.Write("ACTIVE", object.oldActive);
    } else if (!object.isNew) {
      FList.push_back(&object);
      done = !std::exchange(statementFails, false);
      if (done) rows.erase(object.id);
    }
    done = done && Commit();
    if (!done) {
      Rollback();
      if (cancels) Cancel(object);
    }
    object.deleting = false;
    if (done) object.marked = true;
    return done;
  }
  void Cancel(TObjectModel& object) const {
    object.marked = false;
    if (!IsModified(object)) return;
    if (object.changed) object.value = object.old;
    object.modified = false;
  }
  int Count() const { return FCount; }
  int References(const TObjectModel& object) const {
    return static_cast<int>(std::count(FList.begin(), FList.end(), &object));
  }

  // Whether an object, or what counts as its own, has changes.
  std::function<bool(const TObjectModel&)> IsModified = [](const TObjectModel& object) {
    return object.modified;
  };
  bool statementFails = false;  // the next one
  bool hookFails = false;       // the next one behind a statement
  TRows rows, committed;

 private:
  static void Keep(TObjectModel& object) {
    if (object.unconfirmed) return;
    object.oldModified = object.modified;
    object.oldNew = object.isNew;
  }
  bool Statement(TObjectModel& object) {
    if (!object.modified && !object.isNew) return true;
    const bool unchecked = object.logical && object.value["ACTIVE"] == "0";
    if (object.required && !unchecked && object.value["NAME"].empty()) return false;
    Keep(object);
    if (object.IsTemporary()) return false;
    FList.push_back(&object);
    const auto row = rows.find(object.id);
    if (std::exchange(statementFails, false)) return false;
    if (object.isNew) {
      if (row != rows.end()) return false;
      rows[object.id] = object.value;
    } else if (row != rows.end()) {
      TModelValues narrowed = row->second;
      bool any = false;
      for (const auto& [name, text] : object.value) {
        if (!object.changed || object.old[name] == text) continue;
        narrowed[name] = text;
        any = true;
      }
      row->second = object.whole || !any ? object.value : narrowed;
    }
    object.modified = object.isNew = false;
    object.unconfirmed = true;
    if (std::exchange(hookFails, false)) return false;
    object.whole = false;
    return true;
  }

  std::vector<TObjectModel*> FList;  // an entry for each statement
  int FCount = 0;
};

}  // namespace perlayer
