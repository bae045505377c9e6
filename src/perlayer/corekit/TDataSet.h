#pragma once
// TDataSet: rows with a current one, whose columns are told and held by fields. A subclass brings
// the rows.
//
// Reading. Rows lie in record buffers that the subclass allocates and fills. The data set keeps as
// many of them as the widest attached TDataLink shows, one without a link, and knows which is the
// current one. A subclass that can (TIQuery) gives its rows directly, without any buffer, until
// somebody goes back, takes a bookmark or attaches a link. See docs/datasets.md.
//
// Editing changes the buffer of the current row; Post has the subclass store it, Cancel reads the
// row anew. Leaving the row posts what has been modified and cancels what has not.
//
// Events may close and free the data set, except where a row is being filtered or calculated, from
// where it can be neither moved nor closed. What a Before event raises stops the operation before
// anything has happened. What a link raises when it is told something goes to
// InternalHandleException, and everybody else is told all the same.
//
// Fields that exist before opening ("persistent" ones) are bound to columns by name; otherwise a
// field for each column is made when the first one is asked for, so that whoever reads rows by cell
// pays for no field.
//
// Operations on a closed data set raise EDatabaseError. Main thread only.

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "perlayer/corekit/DataSetTypes.h"
#include "perlayer/corekit/TComponent.h"
#include "perlayer/corekit/TRecordRing.h"

namespace perlayer {

class TDataLink;
class TStream;
class Variant;
struct TCell;
struct TColumnLayout;

class TDataSet : public TComponent {
  TCLASS(TDataSet, TComponent)
 public:
  void Destroy() override;  // closes, without events, and detaches all links

  // Opening stands on the first row; without rows IsEmpty(), Bof() and Eof() hold. Does nothing
  // when open. Closing forgets what has been edited and not posted.
  void Open();
  void Close();
  bool Active() const { return FState != TDataSetState::dsInactive; }
  void Active(bool active) { active ? Open() : Close(); }
  TDataSetState State() const { return FState; }

  bool Bof() const;      // a move went before the first row, or to it by First; or there is none
  bool Eof() const;      // a move went past the last row, or to it by Last; or there is none
  bool IsEmpty() const;  // there is no row at all
  void First();
  void Last();
  void Next();
  void Prior() { MoveBy(-1); }
  // Answers how many rows it has moved: fewer than `distance` at either end. In an empty data set
  // it looks whether rows have come meanwhile.
  int MoveBy(int distance);
  // -1 where the subclass does not know. A row's number counts from 1; 0 without a row.
  int RecordCount();
  int RecNo();
  // Raises where there are no numbers. Without a row of that number it ends at the next one in the
  // direction of the move, or at the end. With Filtered it goes row by row.
  void RecNo(int number);
  virtual bool IsSequenced() { return true; }  // row numbers mean something

  // A bookmark tells a row of the opening it was taken in; an empty one tells none.
  TBookmark GetBookmark();
  // Raises, on the row where it stood, when that row is not there or not to be seen any more, and
  // for a text that is no bookmark.
  void GotoBookmark(const TBookmark& bookmark);
  static void FreeBookmark(TBookmark& bookmark) { bookmark.clear(); }
  virtual bool BookmarkValid(const TBookmark& bookmark);
  virtual int CompareBookmarks(const TBookmark& a, const TBookmark& b);  // below 0, 0 or above
  TBookmark Bookmark() { return GetBookmark(); }
  void Bookmark(const TBookmark& bookmark) { SetBookmarkStr(bookmark); }

  // Goes to the first row whose key fields (separated by ";") have the values: a plain value for
  // one field, an array for one or several. Options apply to fields that are compared as texts:
  // those of texts and, with loPartialKey, all. False leaves everything as it was; a value that
  // does not convert to its field's type is no match.
  virtual bool Locate(std::string_view keyFields, const Variant& keyValues, TLocateOptions options);
  // What the result fields hold in that row, an array for several; Null without such a row. The
  // current row stays.
  Variant Lookup(std::string_view keyFields, const Variant& keyValues,
                 std::string_view resultFields);

  // Between the two, nested, links hear of no row; then of all at once.
  void DisableControls();
  void EnableControls();
  bool ControlsDisabled() const { return FDisableCount > 0; }

  bool CanModify() { return GetCanModify(); }
  bool IsEditing() const {
    return FState == TDataSetState::dsEdit || FState == TDataSetState::dsInsert;
  }
  // The current row has been changed since Edit or Insert.
  bool Modified() const { return FModified; }
  void Edit();    // of an empty data set: Insert
  void Insert();  // before the current row
  void Append();  // behind all rows
  void Post();
  void Cancel();  // does nothing when nothing is edited
  void Delete();  // a row that is being inserted is canceled
  // Reads everything anew and returns to the current row. Asked for within an operation of the data
  // set itself, it waits for the end of that.
  void Refresh();
  // Has links write to fields what has been typed. Raises unless the data set is editing.
  void UpdateRecord();
  // Ends editing: posts what is modified, else cancels.
  void CheckBrowseMode();

  // With Filtered, rows that OnFilterRecord does not accept are left out. Changing either of an
  // open data set goes to its first row.
  bool Filtered() const { return FFiltered; }
  void Filtered(bool filtered);
  const TFilterRecordEvent& OnFilterRecord() const;
  void OnFilterRecord(TFilterRecordEvent event);

  int FieldCount() const;
  // Another number whenever a field has come, gone or been described anew.
  std::uint32_t FieldChanges() const { return FFieldChanges; }
  TField* Fields(int index) const;                   // raises EListError outside
  TField* FindField(std::string_view name) const;    // any case; nullptr when absent
  TField* FieldByName(std::string_view name) const;  // raises EDatabaseError when absent
  std::vector<TFieldDef>& FieldDefs() { return FFieldDefs; }

  // Copies the current row's value into `buffer` (see TField for its form) unless that is nullptr.
  // False when the value is null or there is no row; the buffer is then untouched.
  virtual bool GetFieldData(TField* field, void* buffer) = 0;
  // nullptr writes null. Raises EDatabaseError where the data set cannot be written. Called by
  // fields, which have checked that writing is in order.
  virtual void SetFieldData(TField* field, const void* buffer);
  // The whole of a memo or blob value; empty for null.
  virtual std::string GetBlobData(TField* field);
  virtual void SetBlobData(TField* field, std::string_view data);
  // The value of a field as a stream; see TIBlobStream.
  virtual std::unique_ptr<TStream> CreateBlobStream(TField* field, TBlobStreamMode mode);

  // Direct reading of the current row, for those who know what to do without fields: the layout, or
  // nothing when this data set has no cells, and a view of one cell.
  virtual const std::shared_ptr<const TColumnLayout>& RowLayout() const;
  virtual void RowCell(int column, TCell& cell) const;

#define PERLAYER_DATA_SET_EVENT(Name)                                           \
  const TNotifyEvent& Name() const { return NotifyEvent(TDataSetEvent::Name); } \
  void Name(TNotifyEvent event) { NotifyEvent(TDataSetEvent::Name, std::move(event)); }
  PERLAYER_DATA_SET_EVENT(BeforeOpen)
  PERLAYER_DATA_SET_EVENT(AfterOpen)
  PERLAYER_DATA_SET_EVENT(BeforeClose)
  PERLAYER_DATA_SET_EVENT(AfterClose)
  PERLAYER_DATA_SET_EVENT(BeforeScroll)
  PERLAYER_DATA_SET_EVENT(AfterScroll)
  PERLAYER_DATA_SET_EVENT(BeforeInsert)
  PERLAYER_DATA_SET_EVENT(AfterInsert)
  PERLAYER_DATA_SET_EVENT(BeforeEdit)
  PERLAYER_DATA_SET_EVENT(AfterEdit)
  PERLAYER_DATA_SET_EVENT(BeforePost)
  PERLAYER_DATA_SET_EVENT(AfterPost)
  PERLAYER_DATA_SET_EVENT(BeforeCancel)
  PERLAYER_DATA_SET_EVENT(AfterCancel)
  PERLAYER_DATA_SET_EVENT(BeforeDelete)
  PERLAYER_DATA_SET_EVENT(AfterDelete)
  PERLAYER_DATA_SET_EVENT(BeforeRefresh)
  PERLAYER_DATA_SET_EVENT(AfterRefresh)
  PERLAYER_DATA_SET_EVENT(OnNewRecord)
  // Fills the calculated fields of a row. What it raises goes to InternalHandleException: the row
  // is there, whether or not its calculated values can be told.
  PERLAYER_DATA_SET_EVENT(OnCalcFields)
#undef PERLAYER_DATA_SET_EVENT
  // What the subclass's refusal of an edit, a post or a delete leads to.
  void OnError(TDataSetOperation operation, TDataSetErrorEvent event);

 protected:
  // --- what a subclass tells ---

  // Opens and stands before the first row.
  virtual void InternalOpen() = 0;
  virtual void InternalClose() = 0;
  virtual bool IsCursorOpen() = 0;
  // Fills FieldDefs().
  virtual void InternalInitFieldDefs() {}

  // Buffers; as they come, they are GetRecordSize() zero bytes.
  virtual TRecordBuffer AllocRecordBuffer();
  virtual void FreeRecordBuffer(TRecordBuffer buffer);
  virtual int GetRecordSize() = 0;

  // The subclass has a cursor of its own. GetRecord moves it by mode and fills the buffer with the
  // row where it then stands, bookmark, flag and calculated fields included; rows that are not to
  // be seen are passed over. grError: the current row is not to be seen. An answer other than grOK
  // leaves the buffer's content open. `doCheck` asks to be told of a row that has gone.
  virtual TGetResult GetRecord(TRecordBuffer buffer, TGetMode mode, bool doCheck) = 0;
  virtual void InternalFirst() = 0;  // before the first row
  virtual void InternalLast() = 0;   // behind the last row
  virtual void InternalSetToRecord(TRecordBuffer buffer) = 0;
  virtual void InternalGotoBookmark(const void* bookmark) = 0;
  virtual void GetBookmarkData(TRecordBuffer buffer, void* data) = 0;
  virtual void SetBookmarkData(TRecordBuffer buffer, const void* data) = 0;
  virtual TBookmarkFlag GetBookmarkFlag(TRecordBuffer buffer) = 0;
  virtual void SetBookmarkFlag(TRecordBuffer buffer, TBookmarkFlag flag) = 0;
  virtual void SetBookmarkStr(const TBookmark& bookmark) { GotoBookmark(bookmark); }
  virtual int GetRecordCount() { return -1; }
  virtual int GetRecNo() { return -1; }
  virtual void SetRecNo(int number);

  // Editing. The cursor stands on the active row, except in dsInsert, where it is the subclass's
  // affair. InternalInsert has a fresh active buffer; its flag and bookmark tell where the row is
  // to go. InternalPost leaves the row's own bookmark in the buffer, and InternalDelete leaves the
  // cursor where the rows around the deleted one are found.
  virtual bool GetCanModify() { return true; }
  virtual void InternalInitRecord(TRecordBuffer buffer);  // raises: nothing can be inserted
  virtual void InternalInsert() {}
  virtual void InternalEdit() {}
  virtual void InternalPost();    // raises
  virtual void InternalDelete();  // raises
  virtual void InternalCancel() {}
  virtual void InternalRefresh() {}
  virtual void ClearCalcFields(TRecordBuffer) {}
  // Takes what escapes a link or a calculation: the application's HandleException.
  // REQUIRES: called within a catch block
  virtual void InternalHandleException();

  // Direct reading. A subclass that answers true is read by InternalNext alone, from InternalOpen
  // or InternalFirst on, until InternalKeepRows: from then on, cursor and GetRecord work, with the
  // cursor where reading has come to; a data set that has links is told so at once. With `keep`
  // false, which only follows when no row has been read since, direct reading goes on.
  virtual bool CanReadDirectly() { return false; }
  virtual bool InternalNext() { return false; }  // moves to the next row; false at the end
  virtual void InternalKeepRows(bool /*keep*/) {}
  // Of the row where direct reading stands; empty and -1 where that takes buffers.
  virtual TBookmark DirectBookmark() { return {}; }
  virtual int DirectRecNo() { return -1; }

  // Every event goes through here, also while controls are disabled.
  virtual void DataEvent(TDataEvent event, TDataEventInfo info);
  void DataEvent(TDataEvent event) { DataEvent(event, {}); }
  virtual void DoAfterOpen();
  virtual void DoBeforeScroll();
  virtual void DoAfterScroll();
  // Gives the ring that many rows; 0 frees it.
  virtual void SetBufListSize(int rows);
  // A field is about to take a value, which can be read from it already.
  virtual void ValidateField(TField* field);
  // Fields have come, gone or changed their places.
  virtual void InternalFieldsChanged() {}

  // --- what a subclass may use ---

  int BookmarkSize() const { return FBookmarkSize; }
  void BookmarkSize(int size) { FBookmarkSize = size; }
  // nullptr without a row, also when an event has closed the data set within an operation.
  TRecordBuffer ActiveBuffer() const {
    return FRing.Count() == 0 ? nullptr : FRing.At(FActiveRecord);
  }
  int ActiveRecord() const { return FActiveRecord; }    // its place in the ring
  int CurrentRecord() const { return FCurrentRecord; }  // where the cursor stands; -1 unknown
  int BufferCount() const { return FRing.Size(); }
  TRecordBuffer Buffers(int index) const { return FRing.At(index); }
  // The row that fields speak of: the active one; the one being calculated or filtered; or none.
  TRecordBuffer GetActiveRecordBuffer() const;
  // The row in `buffer` is to be seen: no filter, or OnFilterRecord accepts it. What the event
  // raises passes.
  bool FilterRecord(TRecordBuffer buffer);
  void GetCalcFields(TRecordBuffer buffer);  // runs OnCalcFields on it
  // Bytes that a buffer needs for calculated fields: TField::Offset() into them, one flag byte,
  // then the value. Fixed while open.
  int CalcFieldsSize() const { return FCalcFieldsSize; }
  static bool ReadCalcField(const std::byte* area, const TField& field, void* buffer);
  static void WriteCalcField(std::byte* area, const TField& field, const void* data);

  // Reads the rows around the cursor anew: those at it, or the nearest. rmExact raises when there
  // is no row at the cursor, rmCenter has it in the middle of the ring.
  void Resync(TResyncMode mode);
  void ClearBuffers();
  void UpdateCursorPos();  // the cursor goes to the active row, unless one is being inserted
  void CursorPosChanged() { FCurrentRecord = -1; }
  // Directly read rows are kept from here on.
  void NeedBuffers();
  bool ReadsDirectly() const { return FDirect; }
  // Closes, if open, whatever events would say to it; links are not told yet.
  void CloseForGood();
  // The state for the moment, without events; answers the state to restore.
  TDataSetState SetTempState(TDataSetState state) { return std::exchange(FState, state); }
  void RestoreState(TDataSetState state) { FState = state; }
  void SetModified(bool modified) { FModified = modified; }

  // The fields were made from the columns by opening, one for each in their order.
  bool HasDefaultFields() const { return FDefaultFields; }
  // No field exists before opening.
  bool DefaultFields() const { return FFields.empty() || FDefaultFields; }
  void CreateFields();   // from FieldDefs()
  void DestroyFields();  // those
  void BindFields();     // raises for a persistent field that is in no FieldDefs()

  void CheckActive() const;
  void CheckCanModify();
  // One of the rows is being filtered or calculated: buffers and cursor are in use.
  bool InRow() const {
    return FState == TDataSetState::dsFilter || FState == TDataSetState::dsCalcFields;
  }
  void CheckNotInRow() const;
  [[noreturn]] static void RaiseError(const std::string& message);

 private:
  friend class TDataLink;
  friend class TField;

  // opening
  void OpenCursor();
  void CloseCursor();
  // events
  const TNotifyEvent& NotifyEvent(TDataSetEvent event) const;
  void NotifyEvent(TDataSetEvent event, TNotifyEvent handler);
  TDataSetEvents& NeedEvents();
  void Fire(TDataSetEvent event);
  bool FireBefore(TDataSetEvent event);
  bool BeforeScrolling();
  bool EnterBrowse();
  void SetState(TDataSetState state);
  // links
  void AddLink(TDataLink* link);
  void RemoveLink(TDataLink* link);
  void TellLinks(TDataEvent event, TDataEventInfo info);
  static void HandleLinkException(TObject* link);  // REQUIRES: called within a catch block
  void ShiftLinks(int rows);
  void UpdateBufferCount();
  void SetBufferCount(int rows);
  // the ring
  void SetCurrentRecord(int index);
  bool GetNextRecord();
  bool GetPriorRecord();
  void GetNextRecords();
  void GetPriorRecords();
  void ActivateBuffers();
  int MoveDirectly(int distance);
  int MoveInRing(int distance);
  // editing
  void BeginInsert(bool append);
  void PlaceInserted(const TBookmark& place);
  void PlaceAppended();
  void AbandonInsert(const TBookmark& place);
  void RunOperation(void (TDataSet::*run)());
  void Operate(TDataSetOperation operation, void (TDataSet::*run)());
  void LeaveEditing();
  void RefreshIfAsked();
  void CheckRequiredFields();
  void CheckFieldWritable(const TField& field);
  // locating
  std::vector<TField*> FieldList(std::string_view names) const;
  template <class TFound>
  bool Scan(std::string_view keyFields, const Variant& keyValues, TLocateOptions options,
            TFound found);
  // fields
  void AddField(TField* field);
  void RemoveField(TField* field);
  void NumberFields();
  void NeedFields() const;
  void FieldPropertyChanged();

  std::vector<TField*> FFields;  // owned
  std::vector<TFieldDef> FFieldDefs;
  std::unique_ptr<TDataSetEvents> FEvents;  // nullptr without any
  std::vector<TDataLink*> FLinks;           // not owned; nullptr where one has left during a walk
  TRecordRing FRing;
  TRecordBuffer FCalcBuffer = nullptr;
  TRecordBuffer FFilterBuffer = nullptr;
  int FActiveRecord = 0;    // the current row's place in the ring
  int FCurrentRecord = -1;  // the place of the row at which the subclass's cursor stands
  int FBookmarkSize = 0;
  int FCalcFieldsSize = 0;
  int FDisableCount = 0;
  std::uint32_t FFieldChanges = 1;
  int FLinkWalks = 0;
  TDataSetState FState = TDataSetState::dsInactive;
  TDataSetState FDisabledState = TDataSetState::dsInactive;  // when controls were disabled
  TDataEvent FEnableEvent = TDataEvent::deDataSetChange;
  bool FDefaultFields = false;  // the fields were made by opening and go with closing
  bool FMakingFields = false;
  bool FDirect = false;
  bool FBof = true;
  bool FEof = true;
  bool FEmpty = true;   // of direct reading
  bool FMoved = false;  // past the first row, of direct reading
  bool FModified = false;
  bool FFiltered = false;
  bool FOperating = false;  // the subclass works on the row that is edited
  bool FRefreshAsked = false;
};

}  // namespace perlayer
