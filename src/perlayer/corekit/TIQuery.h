#pragma once
// TIQuery: a statement of a class map or an application, with its parameters, and its rows as a
// data set that reads forward straight from the driver.
//
// The statement is a list of lines. A changed line closes the query; parameters found in the new
// text keep the values that parameters of the same name had. Queries with equal text share one
// parse and, in the driver, one prepared statement, so that a copy is cheap.
//
// Main thread only.

#include <memory>
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
  TCLASS(TIQuery, TDataSet)
 public:
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
  // Closes the query and hands its statement back; what the database does before it goes.
  void ReleaseStatement() noexcept;
  // Runs a statement that gives no rows. Returns the number of rows that it changed; parameters
  // that it returns into (RETURNING ... INTO) have their new values then, and needed none before.
  std::int64_t ExecSQL();

  bool GetFieldData(TField* field, void* buffer) override;
  std::string GetBlobData(TField* field) override;
  const std::shared_ptr<const TColumnLayout>& RowLayout() const override { return FLayout; }
  void RowCell(int column, TCell& cell) const override;

 protected:
  void InternalOpen() override;
  void InternalClose() override;
  bool InternalNext() override;
  void InternalCreateFields() override;
  void InternalFieldsChanged() override { FColumns.clear(); }

 private:
  void LinesChanged(TObject*);
  void BindParameters(bool copy);
  void TakeReturned();
  void SyncParameters() const;
  int ColumnOf(const TField* field);  // raises when there is none

  // The text: FLines is made when somebody asks for lines; FStatement is stale while FLinesNewer.
  mutable TStatementTextPtr FStatement;
  TStringList* FLines = nullptr;  // owned
  mutable bool FLinesNewer = false;
  bool FQueryAllRecords = false;
  bool FRequestLive = false;
  bool FOnRow = false;
  mutable TStatementTextPtr FParamsOf;  // the text that FParams belongs to
  mutable std::vector<TIParam> FParams;
  std::vector<std::string> FBoundTexts;  // what an open run was bound to, by parameter
  std::string FDatabaseName;
  std::string FCaption;
  TObjectHandle FUpdateObject;

  TIDatabase* FDatabase = nullptr;        // looked up, not owned; set while prepared
  TDriverStatement* FPrepared = nullptr;  // taken from the database's session
  std::shared_ptr<const TColumnLayout> FLayout;
  std::vector<int> FColumns;  // field index to column, filled as fields are read; -2 is unknown
};

}  // namespace perlayer
