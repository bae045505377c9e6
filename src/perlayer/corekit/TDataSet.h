#pragma once
// TDataSet: a cursor over rows, read forward. A subclass brings the rows; fields tell and hold the
// columns. Fields that exist before opening ("persistent" ones) are bound to columns by name;
// otherwise a field for each column is made when the first one is asked for, so that whoever reads
// rows by cell pays for no field.
//
// Main thread only.

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "perlayer/corekit/TComponent.h"
#include "perlayer/platform/TDelegate.h"

namespace perlayer {

class TField;
struct TCell;
struct TColumnLayout;

class TDataSet : public TComponent {
  TCLASS(TDataSet, TComponent)
 public:
  void Destroy() override;  // closes

  // Opening stands on the first row; without rows IsEmpty() and Eof() hold. Does nothing when open.
  void Open();
  void Close();
  bool Active() const { return FActive; }

  // These raise EDatabaseError on a closed data set.
  bool Eof() const;      // a move went past the last row, or there is none
  bool IsEmpty() const;  // there is no row at all
  void First();
  void Next();

  int FieldCount() const;
  TField* Fields(int index) const;                   // raises EListError outside
  TField* FindField(std::string_view name) const;    // any case; nullptr when absent
  TField* FieldByName(std::string_view name) const;  // raises EDatabaseError when absent

  // Copies the current row's value into `buffer` (see TField for its form) unless that is nullptr.
  // False when the value is null or there is no row; the buffer is then untouched.
  virtual bool GetFieldData(TField* field, void* buffer) = 0;
  // nullptr writes null. Raises EDatabaseError where the data set cannot be written.
  virtual void SetFieldData(TField* field, const void* buffer);
  // The whole of a memo or blob value; empty for null.
  virtual std::string GetBlobData(TField* field);
  virtual void SetBlobData(TField* field, std::string_view data);

  // Direct reading of the current row, for those who know what to do without fields: the layout, or
  // nothing when this data set has no cells, and a view of one cell.
  virtual const std::shared_ptr<const TColumnLayout>& RowLayout() const;
  virtual void RowCell(int column, TCell& cell) const;

  const TNotifyEvent& BeforeOpen() const { return FBeforeOpen; }
  void BeforeOpen(TNotifyEvent event) { FBeforeOpen = std::move(event); }
  const TNotifyEvent& AfterOpen() const { return FAfterOpen; }
  void AfterOpen(TNotifyEvent event) { FAfterOpen = std::move(event); }

 protected:
  // Opens and stands before the first row.
  virtual void InternalOpen() = 0;
  virtual void InternalClose() = 0;
  // Moves to the next row; false at the end.
  virtual bool InternalNext() = 0;
  // Stands before the first row again.
  virtual void InternalFirst();
  // Makes a field for each column; called with no fields present.
  virtual void InternalCreateFields() {}
  // Fields have come, gone or changed their places.
  virtual void InternalFieldsChanged() {}

  // The fields were made from the columns by opening, one for each in their order.
  bool HasDefaultFields() const { return FDefaultFields; }
  void CheckActive() const;
  [[noreturn]] static void RaiseError(const std::string& message);

 private:
  friend class TField;
  void AddField(TField* field);
  void RemoveField(TField* field);
  void NumberFields();
  void NeedFields() const;
  void ClearDefaultFields();

  std::vector<TField*> FFields;  // owned
  TNotifyEvent FBeforeOpen;
  TNotifyEvent FAfterOpen;
  bool FActive = false;
  bool FDefaultFields = false;  // the fields were made by opening and go with closing
  bool FMakingFields = false;
  bool FEof = true;
  bool FEmpty = true;
  bool FMoved = false;  // past the first row
};

}  // namespace perlayer
