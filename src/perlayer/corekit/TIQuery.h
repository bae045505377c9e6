#pragma once
// TIQuery: a statement of a class map or an application, with its parameters, and its rows as a
// data set.
//
// Rows are read forward straight from the driver, without a buffer, as long as nobody needs more:
// going back, Last, Locate, RecordCount, filters, calculated fields or a TDataLink. From then on
// the rows read are kept until the query closes. Rows that were passed before are then read by a
// run of their own when somebody goes back to them; rows that have been seen since stay as they
// were. A run goes on unchanged across writes, Commit and Rollback of its own session.
//
// Behind the last row, directly read fields have no values. First, of directly read rows, and
// Refresh run the statement anew, with the values of parameters that it was opened with. A bookmark
// is the number of the row in the run, and means that number of another run after these two.
//
// The statement is a list of lines. A changed line closes the query; while one of its rows is
// filtered or calculated, statement and database cannot be changed. Parameters found in the new
// text keep the values that parameters of the same name had. Queries with equal text share one
// parse and, in the driver, one prepared statement, so that a copy is cheap.
//
// Main thread only.

#include <cstdint>
#include <exception>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "perlayer/corekit/TDataSet.h"
#include "perlayer/corekit/TDriver.h"
#include "perlayer/corekit/TIParam.h"
#include "perlayer/platform/TStringList.h"

namespace perlayer {

class TIDatabase;
class TIUpdateSQL;

class TIQuery : public TDataSet {
  TCLASS_WITH_DESTRUCTOR(TIQuery, TDataSet)
 public:
  TIQuery();
  using TDataSet::Create;
  void Destroy() override;

  // The lines; change them in place.
  TStringList* SQL();
  int SQLLineCount() { return SQL()->Count(); }
  // The whole text, every line closed by CR LF.
  const std::string& SQLText() const { return Statement()->Text(); }
  void SQLText(std::string_view text);
  // The shared parse of the text as it stands now.
  const TStatementTextPtr& Statement() const;
  // The same with a parse at hand; no lines are made.
  void AssignStatement(const TStatementTextPtr& statement);
  // Takes over the text and database name of another query.
  void AssignSQL(const TIQuery& source);

  const std::string& DatabaseName() const { return FDatabaseName; }
  void DatabaseName(std::string_view name);

  int ParamCount() const;
  // The text that the parameters are of: that of the run while the query is open.
  const TStatementTextPtr& ParamsStatement() const {
    SyncParameters();
    return FParamsOf;
  }
  TIParam& Params(int index);                   // raises EListError outside
  TIParam* FindParam(std::string_view name);    // any case; nullptr when absent
  TIParam& ParamByName(std::string_view name);  // raises EDatabaseError when absent

  // Caption for people, from the class map.
  const std::string& Caption() const { return FCaption; }
  void Caption(std::string_view caption) { FCaption = caption; }

  // Statements that write the rows of this query; owned by this query when made with it as owner.
  // nullptr also once its owner has freed it.
  TIUpdateSQL* UpdateObject() const;
  void UpdateObject(TIUpdateSQL* object);

  // A reader that will take every row says so before opening.
  void SetQueryAllRecords(bool all) { FQueryAllRecords = all; }
  bool QueryAllRecords() const { return FQueryAllRecords; }
  bool RequestLive() const { return FRequestLive; }
  void RequestLive(bool live) { FRequestLive = live; }

  // Takes the statement from the database: raises EDatabaseError when it cannot be said there.
  // Opening and executing prepare by themselves.
  void Prepare();
  bool Prepared() const { return FPrepared != nullptr; }
  // Closes the query and hands its statement back; what the database does before it goes. What
  // events raise goes to InternalHandleException. While CheckFree() raises nothing happens.
  void ReleaseStatement() noexcept;
  // Raises EDatabaseError while one of the rows is filtered or calculated: the statement is needed.
  void CheckFree() const;
  // Runs a statement that gives no rows. Returns the number of rows that it changed; parameters
  // that it returns into (RETURNING ... INTO) have their new values then, and needed none before.
  std::int64_t ExecSQL();
  // The same with these values, one for each parameter, in place of the parameters' own.
  std::int64_t ExecSQL(std::span<const TBoundValue> values);

  bool GetFieldData(TField* field, void* buffer) override;
  std::string GetBlobData(TField* field) override;
  const std::shared_ptr<const TColumnLayout>& RowLayout() const override { return FLayout; }
  void RowCell(int column, TCell& cell) const override;
  // A row of that number is there and to be seen; rows before it are read to find out.
  bool BookmarkValid(const TBookmark& bookmark) override;
  int CompareBookmarks(const TBookmark& a, const TBookmark& b) override;

 protected:
  ~TIQuery() override;
  void SetFieldData(TField* field, const void* buffer) override;  // calculated fields only
  void InternalOpen() override;
  void InternalClose() override;
  bool IsCursorOpen() override { return FRunning; }
  bool CanReadDirectly() override;
  bool InternalNext() override { return StepRow(); }
  void InternalKeepRows(bool keep) override;
  TBookmark DirectBookmark() override;
  int DirectRecNo() override;
  void InternalInitFieldDefs() override;
  void InternalFieldsChanged() override { FColumns.clear(); }

  int GetRecordSize() override;
  TGetResult GetRecord(TRecordBuffer buffer, TGetMode mode, bool doCheck) override;
  void InternalFirst() override;
  void InternalLast() override;
  void InternalSetToRecord(TRecordBuffer buffer) override;
  void InternalGotoBookmark(const void* bookmark) override;
  void GetBookmarkData(TRecordBuffer buffer, void* data) override;
  void SetBookmarkData(TRecordBuffer buffer, const void* data) override;
  TBookmarkFlag GetBookmarkFlag(TRecordBuffer buffer) override;
  void SetBookmarkFlag(TRecordBuffer buffer, TBookmarkFlag flag) override;
  int GetRecordCount() override;
  int GetRecNo() override;
  bool GetCanModify() override { return false; }
  void InternalRefresh() override;
  void ClearCalcFields(TRecordBuffer buffer) override;

 private:
  struct TKept;  // the rows that are kept; see TIQueryRows.cpp
  void LinesChanged(TObject*);
  template <class TBody>
  void Guarded(TBody body) noexcept;
  void TakeReturned();
  void CheckParameters();
  void BeginExec();
  template <class TBind, class TEnding>
  std::int64_t RunExec(TBind bind, TEnding ending);
  static void Bind(TDriverStatement& statement, int position, const TBoundValue& value);
  void BindRun(TDriverStatement& statement);
  void SyncParameters() const;
  void StartRun();
  bool StepRow();
  TGetResult MoveCursor(TGetMode mode);
  bool ReadTo(std::int64_t row);
  void ReadEarlierRows();
  bool HasRow(std::int64_t row);
  int ColumnOf(const TField* field);  // raises when there is none

  // The text: FLines is made when somebody asks for lines; FStatement is stale while FLinesNewer.
  mutable TStatementTextPtr FStatement;
  TStringList* FLines = nullptr;  // owned
  mutable bool FLinesNewer = false;
  bool FPuttingBack = false;  // lines that could not be changed
  bool FQueryAllRecords = false;
  bool FRequestLive = false;
  mutable TStatementTextPtr FParamsOf;  // the text that FParams belongs to
  mutable std::vector<TIParam> FParams;
  std::string FDatabaseName;
  std::string FCaption;
  TObjectHandle FUpdateObject;

  TIDatabase* FDatabase = nullptr;        // looked up, not owned; set while prepared
  TDriverStatement* FPrepared = nullptr;  // taken from the database's session
  std::shared_ptr<const TColumnLayout> FLayout;
  bool FRunning = false;
  bool FOnRow = false;           // the driver stands on a row that is not kept
  bool FEnded = false;           // the run has given its last row, or failed
  std::int64_t FRowsRead = 0;    // by the run
  std::exception_ptr FFailure;   // how it failed
  std::unique_ptr<TKept> FKept;  // nullptr while rows are read directly
  std::vector<int> FColumns;     // field index to column, filled as fields are read; -2 is unknown
};

}  // namespace perlayer
