#pragma once
// TIboData: the value store that each persistent object carries: all attribute values as text, by
// position, and a copy of the values from before the first change. An empty text is no value.
//
// A store of a class with n attributes has n + 1 entries; no attribute maps to the last.
//
// Part of its object; main thread only.

#include <string>
#include <string_view>

#include "perlayer/provider/TValueRow.h"

namespace perlayer {

class TDataSet;
class TObject;
class TplPerObject;
class TplProvider;

class TIboData {
 public:
  void Create(TplPerObject* AOwner, TObject* ARetainer);
  // Owner, provider, modified flag and both lists; not the switch of statement optimisation.
  void Assign(const TIboData& Old);
  // Gives a store that has fewer entries than the class needs its n + 1.
  void InitData();
  // Reads the current row: dates with a time as "DD.MM.YYYY HH:MM:SS", all else as text.
  void InitFromDataSet(TDataSet* ds);
  // Empties every value; old values stay.
  void ClearValues();
  // The values, current and old, as a class of another provider has them: by their names, and the
  // ID as the ID. What that class does not have is dropped.
  void SetProvider(TplProvider* AProvider);
  // What the values are now is what they were before any change.
  void CommitValues();
  // Puts the old values back, all but the first, where the ID stands. The modified flag stays.
  void CancelData();
  // Raises "Attribute not defined %s [%s]".
  int GetAttrIndex(std::string_view sAttr) const;

  bool DataModified() const { return FModified; }
  void SetDataModified(bool AModified) { FModified = AModified; }
  bool DisableOptimizingUpdateQueries() const { return FDisableOptimizingUpdateQueries; }
  void DisableOptimizingUpdateQueries(bool disable) { FDisableOptimizingUpdateQueries = disable; }

  // The statements that write the owner's row: narrowed to what has changed, unless that is
  // disabled for this object.
  std::string GetInsertStatement() const;
  std::string GetModifyStatement() const;
  std::string GetDeleteStatement() const;
  // The provider's own text where nothing narrows it, else nullptr.
  const std::string* WholeStatement(bool AInsert) const;
  std::string ConvertSQLStatement(const std::string& sIn) const { return sIn; }

  // The first write after a load or commit keeps the values as they were. By index: whether it has
  // changed the value.
  void SetAttrValue(std::string_view sAttr, std::string_view sValue);
  bool SetAttrValueByIndex(int AIndex, std::string_view sValue);
  std::string GetAttrValue(std::string_view sAttr) const;
  std::string GetAttrValueByIndex(int AIndex) const { return std::string(ValueView(AIndex)); }
  // The same without a copy; lives until the store is written. Raises EListError outside.
  std::string_view ValueView(int AIndex) const {
    CheckIndex(FValues, AIndex);
    return FValues.At(AIndex);
  }
  // With no old values yet, they are the current ones.
  std::string GetAttrOldValue(std::string_view sAttr) const;
  std::string GetAttrOldValueByIndex(int AIndex) const { return std::string(OldValueView(AIndex)); }
  // The same without a copy; lives until the store is written. Raises EListError outside.
  std::string_view OldValueView(int AIndex) const {
    const TValueRow& row = FOldValues.Count() == 0 ? FValues : FOldValues;
    CheckIndex(row, AIndex);
    return row.At(AIndex);
  }
  void SetAttrOldValueByIndex(int AIndex, std::string_view sValue);
  // A value that is no change, value and old value alike. WithBoth makes the rows, unless the
  // store's own have room for it, and changes nothing; Take needs no memory, the store being as it
  // was.
  struct TWrittenBoth {
    TValueRow values;
    TValueRow oldValues;
  };
  TWrittenBoth WithBoth(int AIndex, std::string_view sValue) const;
  void Take(TWrittenBoth&& AWritten, int AIndex, std::string_view sValue);
  // False while there are no old values.
  bool AttributeModified(std::string_view AAttribute) const;

  int Count() const { return FValues.Count(); }
  std::size_t MemoryUsed() const { return FValues.MemoryUsed() + FOldValues.MemoryUsed(); }

 private:
  void NeedOldValues();
  TValueRow Arranged(const TValueRow& row, TplProvider* provider) const;
  static void CheckIndex(const TValueRow& row, int index) {
    if (static_cast<unsigned>(index) >= static_cast<unsigned>(row.Count())) RaiseIndex(index);
  }
  [[noreturn]] static void RaiseIndex(int index);

  TplPerObject* FOwner = nullptr;  // not owned: it holds this store
  TplProvider* FProvider = nullptr;
  TValueRow FValues;
  TValueRow FOldValues;
  bool FModified = false;
  bool FDisableOptimizingUpdateQueries = false;
};

}  // namespace perlayer
