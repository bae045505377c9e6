#include "perlayer/corekit/TIQuery.h"

#include <algorithm>

#include "perlayer/corekit/TIDatabase.h"
#include "perlayer/corekit/TIUpdateSQL.h"
#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/TApplication.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {

bool IsIn(const std::vector<int>& positions, int position) {
  return std::find(positions.begin(), positions.end(), position) != positions.end();
}

}  // namespace

std::string TIParam::AsString() const {
  return IsNull() ? std::string() : Kind() == TKind::number ? FloatToStr(Number()) : Text();
}

void TIQuery::Destroy() {
  CloseForGood();
  ReleaseStatement();
  FreeAndNil(FLines);
  TDataSet::Destroy();
}

const TStatementTextPtr& TIQuery::Statement() const {
  if (FLinesNewer || FStatement == nullptr) {
    FStatement = TStatementText::Of(FLines == nullptr ? std::string() : FLines->Text());
    FLinesNewer = false;
  }
  return FStatement;
}

TStringList* TIQuery::SQL() {
  if (FLines == nullptr) {
    TOwned<TStringList> lines = Make<TStringList>();
    if (FStatement != nullptr) lines->Text(FStatement->Text());
    lines->OnChange(TNotifyEvent::Bind<&TIQuery::LinesChanged>(this));
    FLines = lines.Release();
  }
  return FLines;
}

void TIQuery::SQLText(std::string_view text) {
  CheckFree();
  // By way of the lines, so that the text has one form whichever way it was set.
  SQL()->Text(text);
}

void TIQuery::AssignStatement(const TStatementTextPtr& statement) {
  CheckFree();
  const TAlive alive(this);
  const TStatementTextPtr taken = statement;  // events of closing may change the source
  if (FLines == nullptr) ReleaseStatement();
  if (!alive) return;
  if (FLines != nullptr) {
    FLines->Text(taken->Text());
  } else {
    FStatement = taken;
  }
}

void TIQuery::AssignSQL(const TIQuery& source) {
  const TAlive alive(this);
  const std::string databaseName = source.FDatabaseName;
  AssignStatement(source.Statement());
  if (alive) DatabaseName(databaseName);
}

void TIQuery::CheckFree() const {
  if (InRow()) {
    RaiseError("A statement cannot be changed while one of its rows is filtered or calculated");
  }
}

void TIQuery::LinesChanged(TObject*) {
  if (FPuttingBack) return;
  const bool newer = std::exchange(FLinesNewer, true);
  if (!InRow()) return ReleaseStatement();
  FPuttingBack = true;
  TryFinally([&] { FLines->Text(FStatement->Text()); }, [&] { FPuttingBack = false; });
  FLinesNewer = newer;
  CheckFree();
}

void TIQuery::DatabaseName(std::string_view name) {
  CheckFree();
  if (FDatabaseName == name) return;
  const TAlive alive(this);
  std::string taken(name);
  ReleaseStatement();
  if (alive) FDatabaseName = std::move(taken);
}

// Parameters of a new text keep the values that those of the same name had.
// An open run is bound to those that it has.
void TIQuery::SyncParameters() const {
  if (FRunning && FParamsOf != nullptr) return;
  const TStatementTextPtr& statement = Statement();
  if (FParamsOf == statement) return;
  const std::vector<std::string>& names = statement->Parameters();
  std::vector<TIParam> params;
  params.reserve(names.size());
  for (const std::string& name : names) {
    params.emplace_back(name);
    for (TIParam& old : FParams) {
      if (!SameText(old.FName, name)) continue;
      params.back() = std::move(old);
      params.back().FName = name;
      break;
    }
  }
  FParams = std::move(params);
  FParamsOf = statement;
}

int TIQuery::ParamCount() const {
  SyncParameters();
  return static_cast<int>(FParams.size());
}

TIParam& TIQuery::Params(int index) {
  if (index < 0 || index >= ParamCount()) {
    throw EListError(Format("Parameter index out of bounds (%d)", index));
  }
  return FParams[static_cast<std::size_t>(index)];
}

TIParam* TIQuery::FindParam(std::string_view name) {
  SyncParameters();
  for (TIParam& param : FParams) {
    if (SameText(param.FName, name)) return &param;
  }
  return nullptr;
}

TIParam& TIQuery::ParamByName(std::string_view name) {
  if (TIParam* param = FindParam(name)) return *param;
  throw EDatabaseError(TDatabaseErrorKind::other, 0, Format("Parameter '%s' not found", name),
                       SQLText());
}

TIUpdateSQL* TIQuery::UpdateObject() const { return FUpdateObject.GetAs<TIUpdateSQL>(); }
void TIQuery::UpdateObject(TIUpdateSQL* object) { FUpdateObject = object; }

void TIQuery::Prepare() {
  if (FPrepared != nullptr) return;
  TIDatabase* database = FindDatabase(FDatabaseName);
  if (database == nullptr) {
    throw EDatabaseError(TDatabaseErrorKind::other, 0,
                         Format("There is no database named '%s'", FDatabaseName), SQLText());
  }
  database->QueryPrepared(this);
  try {
    FPrepared = database->Session().Take(Statement());
  } catch (...) {
    database->QueryUnprepared(this);
    throw;
  }
  FDatabase = database;
}

template <class TBody>
void TIQuery::Guarded(TBody body) noexcept {
  const TAlive alive(this);
  try {
    body();
  } catch (...) {
    try {
      alive ? InternalHandleException() : Application()->HandleException(nullptr);
    } catch (...) {
      // It can be told to nobody, and the statement has to go all the same.
    }
  }
}

void TIQuery::ReleaseStatement() noexcept {
  if (FPrepared == nullptr || InRow()) return;
  const TAlive alive(this);
  Guarded([&] { Close(); });
  if (!alive || FPrepared == nullptr) return;
  if (Active()) {  // an event was against it, but the statement has to go
    Guarded([&] {
      CloseForGood();
      DataEvent(TDataEvent::deUpdateState, {});
    });
    if (!alive || FPrepared == nullptr) return;
    if (Active()) Guarded([&] { CloseForGood(); });  // on hearing it a link has opened again
  }
  FDatabase->Session().GiveBack(FPrepared);
  FDatabase->QueryUnprepared(this);
  FPrepared = nullptr;
  FDatabase = nullptr;
  FLayout.reset();
}

void TIQuery::CheckParameters() {
  SyncParameters();
  for (std::size_t i = 0; i < FParams.size(); ++i) {
    const TIParam& param = FParams[i];
    if (param.Kind() != TIParam::TKind::unbound) continue;
    if (IsIn(FPrepared->Returns(), static_cast<int>(i))) continue;  // it is given a value
    throw EDatabaseError(TDatabaseErrorKind::other, 0,
                         Format("Parameter '%s' has no value", param.Name()), SQLText());
  }
}

void TIQuery::Bind(TDriverStatement& statement, int position, const TBoundValue& value) {
  switch (value.kind) {
    case TIParam::TKind::unbound:
    case TIParam::TKind::null:
      statement.BindNull(position);
      break;
    case TIParam::TKind::text:
      statement.BindText(position, value.text);
      break;
    case TIParam::TKind::number:
      statement.BindNumber(position, value.number);
      break;
    case TIParam::TKind::blob:
      statement.BindBlob(position, std::as_bytes(std::span(value.text)));
      break;
  }
}

// A run reads the bound memory until its end: parameters keep it for that long.
void TIQuery::BindRun(TDriverStatement& statement) {
  for (std::size_t i = 0; i < FParams.size(); ++i) {
    const TIParam::TValue& value = FParams[i].RunValue();
    Bind(statement, static_cast<int>(i), {value.kind, value.number, value.text});
  }
}

void TIQuery::TakeReturned() {
  for (const int position : FPrepared->Returns()) {
    TIParam& param = FParams[static_cast<std::size_t>(position)];
    TCell cell;
    FPrepared->Returned(position, cell);
    switch (cell.kind) {
      case TCellKind::null:
        param.Clear();
        break;
      case TCellKind::text:
        param.AsString(cell.text);
        break;
      case TCellKind::integer:
        param.AsFloat(static_cast<double>(cell.integer));
        break;
      case TCellKind::number:
        param.AsFloat(cell.number);
        break;
      case TCellKind::blob:
        param.AsBlob(cell.text);
        break;
    }
  }
}

void TIQuery::BeginExec() {
  const TAlive alive(this);
  Close();
  if (!alive) RaiseError("The query was freed by an event before its statement could run");
  if (Active()) RaiseError("A statement cannot run while an event keeps the query open");
  Prepare();
}

template <class TBind, class TEnding>
std::int64_t TIQuery::RunExec(TBind bind, TEnding ending) {
  return TryFinally(
      [&] {
        bind();
        while (FPrepared->Step()) {
        }
        TakeReturned();
        return FPrepared->RowsAffected();
      },
      [&] {
        ending();
        FPrepared->Reset();
      });
}

std::int64_t TIQuery::ExecSQL() {
  BeginExec();
  CheckParameters();
  for (TIParam& param : FParams) param.BeginRun();
  return RunExec([&] { BindRun(*FPrepared); },
                 [&] {
                   for (TIParam& param : FParams) param.EndRun();
                 });
}

std::int64_t TIQuery::ExecSQL(std::span<const TBoundValue> values) {
  BeginExec();
  SyncParameters();
  Assert(values.size() == FParams.size(), "TIQuery.ExecSQL: one value for each parameter");
  return RunExec(
      [&] {
        int position = 0;
        for (const TBoundValue& value : values) Bind(*FPrepared, position++, value);
      },
      [] {});
}

}  // namespace perlayer
