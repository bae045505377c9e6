#include "perlayer/database/TplDatabaseProvider.h"

#include <array>
#include <cmath>
#include <memory>

#include "perlayer/corekit/ILog.h"
#include "perlayer/corekit/StringLists.h"
#include "perlayer/corekit/TField.h"
#include "perlayer/corekit/TIDatabase.h"
#include "perlayer/corekit/TIQuery.h"
#include "perlayer/foundation/BoMessageDlg.h"
#include "perlayer/object/TplPerObject.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/TClock.h"
#include "perlayer/platform/TLayer.h"
#include "perlayer/provider/TcmpClassMap.h"
#include "perlayer/provider/TplProvider.h"
#include "perlayer/reclaim/TIPerLayerSettings.h"

namespace perlayer {

namespace {

constexpr std::string_view kStartTransaction = "->TplDatabaseProvider.StartTransaction";
constexpr std::string_view kCommit = "->TplDatabaseProvider.Commit";
constexpr std::string_view kRollback = "->TplDatabaseProvider.Rollback";
constexpr int kAhead = 8;

struct TDatabaseProviderPart {
  TplDatabaseProvider* const object = New<TplDatabaseProvider>();

  TDatabaseProviderPart() = default;
  ~TDatabaseProviderPart() { object->DoFree(); }
  TDatabaseProviderPart(const TDatabaseProviderPart&) = delete;
  TDatabaseProviderPart& operator=(const TDatabaseProviderPart&) = delete;
};

void ShowInformation(const std::string& text) {
  BoMessageDlg(text, TMsgDlgType::mtInformation, {TMsgDlgBtn::mbOK}, TMsgDlgBtn::mbOK,
               TMsgDlgBtn::mbOK);
}

}  // namespace

TplDatabaseProvider* dbProvider() {
  return TLayer::Part<TDatabaseProviderPart>(TLayerPart::databaseProvider).object;
}

void TplDatabaseProvider::Create() {
  TPlBaseObject::Create(nullptr, nullptr);
  FOnTransCountToZeroInformationMessageList = New<TStringList>();
}

void TplDatabaseProvider::Destroy() {
  FWriteQueries.Clear();
  FreeAndNil(FTransactionObjects);
  FreeAndNil(FOnTransCountToZeroInformationMessageList);
  TPlBaseObject::Destroy();
}

// --- the session ---

TIDatabase* TplDatabaseProvider::aiDatabase() const {
  return static_cast<TIDatabase*>(FDatabase.Get());
}

TIDatabase* TplDatabaseProvider::FindSession() {
  if (TIDatabase* known = aiDatabase()) return known;
  TIDatabase* database = FindDatabase(TcmpClassMap::kDatabaseName);
  FDatabase = database;
  return database;
}

TIDatabase& TplDatabaseProvider::Database() {
  if (TIDatabase* database = FindSession()) return *database;
  throw Exception(Format("There is no database named '%s'", TcmpClassMap::kDatabaseName));
}

// Empty without memory: a rollback must not fail for its label.
std::string TplDatabaseProvider::Label(std::string_view text, std::string_view operation,
                                       int count) noexcept {
  try {
    return std::string(text).append(operation).append(std::to_string(count));
  } catch (const std::bad_alloc&) {
    return {};
  }
}

// A nested level's label, which goes nowhere else.
void TplDatabaseProvider::Trace(std::string_view text, std::string_view operation,
                                int count) noexcept {
  TIDatabase* database = FindSession();
  if (database == nullptr) return;
  const std::string digits = std::to_string(count);  // too short to take memory
  database->AddTrace(std::array<std::string_view, 3>{text, operation, digits});
}

bool TplDatabaseProvider::InTransaction() {
  TIDatabase* database = FindSession();
  return database != nullptr && (FTransCount > 0 || database->InTransaction());
}

bool TplDatabaseProvider::IsInTransaction(const TplPerObject* obj) const {
  Assert(FTransactionObjects != nullptr, "TplDatabaseProvider.IsInTransaction: none is open");
  return FTransactionObjects->IndexOf(obj) >= 0;
}

// --- the counted transaction ---

void TplDatabaseProvider::StartTransaction(std::string_view text) {
  if (FTransCount == 0) {
    TOwned<TPlList> objects = Make<TPlList>();
    Database().StartTransaction(Label(text, kStartTransaction, FTransCount));
    FreeAndNil(FTransactionObjects);  // of a transaction whose count was reset
    FTransactionObjects = objects.Release();
    StartTransactionTimer();
  } else {
    Trace(text, kStartTransaction, FTransCount);
  }
  ++FTransCount;
  const TNotifyEvent event = PerLayerSettings()->aiOnStartTransactionEvent();
  if (!event) return;
  try {
    event(this);
  } catch (...) {
    Rollback(text);  // the caller's own comes only behind a start that has worked
    throw;
  }
}

void TplDatabaseProvider::Commit(std::string_view text) {
  if (FTransCount == 1) {
    CommitOutermost(text);
  } else {
    Trace(text, kCommit, FTransCount - 1);
    --FTransCount;
  }
  if (FTransCount < 0) {
    TryFinally(
        [&] {
          ShowInformation(Format("Pozor! Števec transakcij = %s!", std::to_string(FTransCount)));
        },
        [&] { ResetTransactionCountAndCommit(); });
  }
  const TNotifyEvent event = PerLayerSettings()->aiOnCommitTransactionEvent();
  if (event) event(this);
}

void TplDatabaseProvider::CommitOutermost(std::string_view text) {
  OnBeforeTransactionCountZeroCommit(FTransactionObjects);
  TryFinally(
      [&] {
        try {
          Database().Commit(Label(text, kCommit, FTransCount));
        } catch (const std::exception& e) {
          ProcessCommitException(e);
        }
        TellObjects(TTold::committed);
      },
      [&] {
        FreeAndNil(FTransactionObjects);
        EndTransactionTimer();
        TryFinally([&] { ShowTrasCountZeroMessages(); }, [&] { EndOutermost(); });
      });
}

void TplDatabaseProvider::Rollback(std::string_view text) {
  if (FTransCount == 1) {
    RollbackOutermost(text);
  } else if (FTransCount > 1) {
    Trace(text, kRollback, FTransCount - 1);
    --FTransCount;
  }
  const TNotifyEvent event = PerLayerSettings()->aiOnRollbackTransactionEvent();
  if (event) event(this);
}

void TplDatabaseProvider::RollbackOutermost(std::string_view text) {
  TryFinally(
      [&] {
        OnBeforeTransactionCountZeroRollback(FTransactionObjects);
        // A session that fails at it has lost the transaction all the same.
        TryFinally([&] { Database().Rollback(Label(text, kRollback, FTransCount)); },
                   [&] { TellObjects(TTold::rolledBack); });
      },
      [&] {
        EndTransactionTimer();
        FreeAndNil(FTransactionObjects);
        EndOutermost();
      });
}

// The list is read anew at each step: what an object does when it is told may lengthen it. Objects
// of a large transaction have left the nearest cache meanwhile, so they are sent for ahead.
void TplDatabaseProvider::TellObjects(TTold told) {
  for (int i = 0; FTransactionObjects != nullptr && i < FTransactionObjects->Count(); ++i) {
    FTransactionObjects->Prefetch(i + kAhead);
    auto* object = As<TplPerObject>(FTransactionObjects->Items(i));
    if (object == nullptr) continue;
    if (told == TTold::committed) {
      object->DoInternalCommit();
    } else {
      object->DoInternalRollback();
    }
    object->Release(this);
  }
}

void TplDatabaseProvider::EndOutermost() {
  FWriteQueries.ReleaseStatements();
  ClearTrasCountZeroMessages();
  --FTransCount;
}

void TplDatabaseProvider::ResetTransactionCountAndCommit() {
  FTransCount = 0;
  FWriteQueries.ReleaseStatements();
  Database().Commit("TplDatabaseProvider.ResetTransactionCountAndCommit");
}

void TplDatabaseProvider::ProcessCommitException(const std::exception& e) {
  const std::string text = Format("Commiting error: %s", e.what());
  ILog(text);
  throw Exception(text);
}

void TplDatabaseProvider::OnBeforeTransactionCountZeroCommit(TList* list) {
  try {
    const TNotifyEvent event = FOnBeforeTransationCountSetToZeroCommit;
    if (event) event(this);
    PerLayerSettings()->OnCommit(list);
  } catch (const std::exception& e) {
    ILog(Format("TplDatabaseProvider.OnBeforeTransactionCountZeroCommit: %s", e.what()));
    throw;
  }
}

void TplDatabaseProvider::OnBeforeTransactionCountZeroRollback(TList* list) {
  try {
    const TNotifyEvent event = FOnBeforeTransationCountSetToZeroRollback;
    if (event) event(this);
    PerLayerSettings()->OnRollback(list);
  } catch (const std::exception& e) {
    try {
      ILog(Format("TplDatabaseProvider.OnBeforeTransactionCountZeroRollback: %s", e.what()));
    } catch (const std::bad_alloc&) {
      ILog(e.what());
    }
  }
}

// --- statements ---

void TplDatabaseProvider::PerformSQLStatement(const std::string& sql, TPlBaseObject* obj) {
  // The list has gone ahead of the count while the messages of a commit are shown.
  if (FTransCount <= 0 || FTransactionObjects == nullptr) {
    throw Exception("No active transaction");
  }
  auto* object = Cast<TplPerObject>(obj);
  TWriteQueries::TLease lease(FWriteQueries, sql);
  const TDataSet* fields = object->aiProvider()->GetQueryForBo(object);
  FTransactionObjects->Add(object);
  const int references = object->RefCount();
  try {
    object->AddRef(this);
  } catch (...) {
    if (object->RefCount() == references) {
      FTransactionObjects->Delete(FTransactionObjects->Count() - 1);
    }
    throw;
  }
  TIQuery& query = lease.Query();
  const auto binding = object->aiProvider()->BindParams(query.Statement());
  query.Prepare();
  const bool isDirect = object->ValuesForStatement(*binding, fields, lease.Values());
  if (!isDirect) {
    lease.TypeParams(*fields);
    object->FillValuesInSqlParams(&query);
  }
  try {
    if (isDirect) {
      query.ExecSQL(lease.Values());
    } else {
      query.ExecSQL();
    }
    lease.Succeeded();
  } catch (const std::exception& e) {
    ILog(Format("TplDatabaseProvider.PerformSQLStatement exception: %s; SQL: %s", e.what(), sql));
    throw;
  }
}

TDateTime TplDatabaseProvider::GetServerDateTime() {
  const TOwned<TIQuery> query = Make<TIQuery>();
  query->DatabaseName(TcmpClassMap::kDatabaseName);
  query->SQLText("select sysdate from dual");
  query->Open();
  if (query->FieldCount() == 0) {
    throw Exception(
        "TplDatabaseProvider.GetServerDateTime: Error getting system datetime from server.");
  }
  return query->Fields(0)->AsDateTime();
}

void TplDatabaseProvider::StartTransactionTimer() { FStartTransactionTime = Now(); }

int TplDatabaseProvider::GetStartTransactionDuration() const {
  if (FStartTransactionTime == 0 || FTransCount == 0) return 0;
  return static_cast<int>(std::llround((Now() - FStartTransactionTime) * kMillisecondsPerDay) /
                          1000);
}

void TplDatabaseProvider::ShowTrasCountZeroMessages() {
  const TStringList* messages = FOnTransCountToZeroInformationMessageList;
  if (messages->Count() == 0) return;
  ShowInformation(StringList2StringSep(*messages, "\r-----------------------\r"));
}

void TplDatabaseProvider::ClearTrasCountZeroMessages() {
  FOnTransCountToZeroInformationMessageList->Clear();
}

}  // namespace perlayer
