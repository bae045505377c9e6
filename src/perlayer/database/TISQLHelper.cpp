#include "perlayer/database/TISQLHelper.h"

#include <utility>

#include "perlayer/corekit/TIDatabase.h"
#include "perlayer/corekit/TOracleQuery.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/TMemoryStream.h"
#include "perlayer/provider/TcmpClassMap.h"

namespace perlayer {

namespace {

TIDatabase* Session() {
  TIDatabase* const database = FindDatabase(TcmpClassMap::kDatabaseName);
  if (database != nullptr) return database;
  throw Exception(Format("There is no database named '%s'", TcmpClassMap::kDatabaseName));
}

const char* EmptyLocator(int type) {
  if (type == TOracleQuery::otCLOB) return "empty_clob()";
  if (type == TOracleQuery::otBLOB) return "empty_blob()";
  throw Exception(Format("TboTarnelEmergencyCall.DoSaveLob: Unknown blob type: %d", type));
}

void CheckStream(const TStream* stream, const char* operation) {
  if (stream == nullptr) throw Exception(Format("TISQLHelper.%s: there is no stream", operation));
}

// A query of the session, with its statement and key.
TOwned<TOracleQuery> QueryFor(TIDatabase* session, const std::string& sql, const std::string& key,
                              const std::string& value) {
  TOwned<TOracleQuery> query = Make<TOracleQuery>();
  query->SetSession(session);
  query->SQLText(sql);
  query->DeleteVariables();
  query->DeclareVariable(key, TOracleQuery::otInteger);
  query->SetVariable(key, value);
  return query;
}

}  // namespace

void TISQLHelper::SaveClob(const std::string& ATable, const std::string& ALobField,
                           const std::string& AKeyField, const std::string& AKeyValue,
                           std::string AData, const std::string& ASQL) {
  TStringStream stream(std::move(AData));
  SaveLob(ATable, ALobField, AKeyField, AKeyValue, TOracleQuery::otCLOB, &stream, ASQL);
}

void TISQLHelper::SaveBlob(const std::string& ATable, const std::string& ALobField,
                           const std::string& AKeyField, const std::string& AKeyValue,
                           TStream* AData, const std::string& ASQL) {
  SaveLob(ATable, ALobField, AKeyField, AKeyValue, TOracleQuery::otBLOB, AData, ASQL);
}

void TISQLHelper::SaveLob(const std::string& ATable, const std::string& ALobField,
                          const std::string& AKeyField, const std::string& AKeyValue, int AType,
                          TStream* AData, const std::string& ASQL) {
  const char* const empty = EmptyLocator(AType);
  CheckStream(AData, "SaveLob");
  TIDatabase* const database = Session();
  const TAlive alive(database);
  const std::string sql =
      ASQL.empty() ? Format("update %s set %s = %s where %s = :%s returning %s into :%s", ATable,
                            ALobField, empty, AKeyField, AKeyField, ALobField, ALobField)
                   : ASQL;
  const bool opened = database->Session().Mark();
  try {
    {
      const TOwned<TOracleQuery> query = QueryFor(database, sql, AKeyField, AKeyValue);
      TLOBLocator locator(database, AType);
      query->DeclareVariable(ALobField, AType);
      query->SetComplexVariable(ALobField, &locator);
      query->Execute();
      if (locator.IsNull()) {
        throw EDatabaseError(TDatabaseErrorKind::other, 0,
                             Format("No row was found to save %s to", ALobField), sql);
      }
      locator.Size(AData->Size());
      const std::int64_t copied = locator.CopyFrom(*AData, 0);
      // A stream may turn out to be shorter than it has told.
      if (copied != locator.Size()) locator.Size(copied);
    }
    if (alive) database->Session().Keep(opened);
  } catch (...) {
    if (alive) database->Session().Undo(opened);
    throw;
  }
}

std::string TISQLHelper::LoadClob(const std::string& ATable, const std::string& ALobField,
                                  const std::string& AKeyField, const std::string& AKeyValue) {
  TStringStream stream;
  LoadLob(ATable, ALobField, AKeyField, AKeyValue, TOracleQuery::otCLOB, &stream);
  return stream.TakeBytes();
}

void TISQLHelper::LoadBlob(const std::string& ATable, const std::string& ALobField,
                           const std::string& AKeyField, const std::string& AKeyValue,
                           TStream* AData) {
  LoadLob(ATable, ALobField, AKeyField, AKeyValue, TOracleQuery::otBLOB, AData);
}

void TISQLHelper::LoadLob(const std::string& ATable, const std::string& ALobField,
                          const std::string& AKeyField, const std::string& AKeyValue, int AType,
                          TStream* AData, const std::string& ASQL) {
  EmptyLocator(AType);
  CheckStream(AData, "LoadLob");
  const std::string sql =
      ASQL.empty() ? Format("select * from %s where %s = :%s", ATable, AKeyField, AKeyField) : ASQL;
  const TOwned<TOracleQuery> query = QueryFor(Session(), sql, AKeyField, AKeyValue);
  query->Execute();
  TLOBLocator* const field = query->LOBField(ALobField);
  if (field->Size() == 0) return;
  const std::int64_t before = AData->Size();
  AData->Reserve(field->Size());
  try {
    AData->CopyFrom(*field, field->Size());
  } catch (...) {
    if (AData->Size() > before) AData->Size(before);
    throw;
  }
}

}  // namespace perlayer
