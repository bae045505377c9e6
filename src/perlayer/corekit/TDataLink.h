#pragma once
// TDataLink: whoever shows rows of a data set and wants to hear of their changes: a control, a
// view, an object beside. It shows BufferCount() consecutive rows, the current one among them; the
// data set keeps as many rows at hand as its widest link shows.
//
// A class derives from it and overrides what it wants to hear. A link may attach, detach, close and
// free, itself and the data set included, while it hears something. What it raises on being told
// something goes to the application; what it raises on being asked something (CheckBrowseMode,
// UpdateData, FocusControl) stops the operation.
//
// Owned by whoever made it. Main thread only.

#include "perlayer/corekit/TDataSet.h"

namespace perlayer {

class TDataLink : public TObject {
  TCLASS(TDataLink, TObject)
 public:
  void Destroy() override;  // detaches, and hears nothing of it

  TDataSet* DataSet() const { return FDataSet; }
  // Attaches to it, open or closed; nullptr detaches. What reading rows raises passes; the link is
  // detached then.
  void DataSet(TDataSet* dataSet);
  // Attached to an open data set, and has heard so.
  bool Active() const { return FActive && FDataSet != nullptr && FDataSet->Active(); }
  bool Editing() const { return FEditing; }
  bool ReadOnly() const { return FReadOnly; }
  void ReadOnly(bool readOnly) { FReadOnly = readOnly; }

  // How many rows it shows; 1 at first.
  int BufferCount() const { return FBufferCount; }
  void BufferCount(int rows);  // raises EDatabaseError below 1
  // How many of them there are.
  int RecordCount() const;
  // The place of the current row among them. Another place makes fields tell that row for the
  // moment, without any event: to show the rows, go through them and come back.
  int ActiveRecord() const;
  void ActiveRecord(int index);
  bool Bof() const { return FDataSet->Bof(); }                     // REQUIRES: Active()
  bool Eof() const { return FDataSet->Eof(); }                     // REQUIRES: Active()
  int MoveBy(int distance) { return FDataSet->MoveBy(distance); }  // REQUIRES: Active()

  // Puts the data set into edit state; false when that cannot be.
  bool Edit();
  // Has UpdateData write what was typed.
  void UpdateRecord();

 protected:
  virtual void ActiveChanged() {}
  virtual void EditingChanged() {}
  virtual void DataSetChanged() { RecordChanged(nullptr); }
  // The rows shown have moved by that many: row i is now what row i + distance was.
  virtual void DataSetScrolled(int /*distance*/) { DataSetChanged(); }
  virtual void LayoutChanged() { DataSetChanged(); }
  virtual void RecordChanged(TField* /*field*/) {}  // nullptr: all fields
  virtual void FocusControl(TField* /*field*/) {}
  virtual void CheckBrowseMode() {}
  virtual void UpdateData() {}
  virtual void DataEvent(TDataEvent event, TDataEventInfo info);

 private:
  friend class TDataSet;
  void UpdateState();
  void DataSetGone();
  int MoveWindow();

  TDataSet* FDataSet = nullptr;  // not owned
  int FBufferCount = 1;
  int FFirstRecord = 0;  // the place in the data set's ring of the first row shown
  bool FActive = false;
  bool FEditing = false;
  bool FReadOnly = false;
  bool FUpdating = false;
};

}  // namespace perlayer
