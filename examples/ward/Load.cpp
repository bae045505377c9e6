#include "Load.h"

#include <filesystem>
#include <iostream>
#include <system_error>

#include "Administration.h"
#include "Database.h"
#include "HospitalData.h"
#include "Lines.h"
#include "Schema.h"
#include "perlayer/corekit/ILoginInfo.h"
#include "perlayer/corekit/TIQuery.h"
#include "perlayer/platform/Format.h"

namespace ward {

namespace {

// A database file that was not there before goes again when loading fails: opening it alone has
// made a file of some bytes.
class TNewFile {
 public:
  explicit TNewFile(const std::string& path)
      : FPath(path), FIsNew(!std::filesystem::exists(path)) {}
  ~TNewFile() {
    if (!FIsNew) return;
    std::error_code nothingToBeDone;
    for (const char* suffix : {"", "-wal", "-shm"}) {
      std::filesystem::remove(FPath + suffix, nothingToBeDone);
    }
  }
  TNewFile(const TNewFile&) = delete;
  TNewFile& operator=(const TNewFile&) = delete;
  void Keep() { FIsNew = false; }

 private:
  const std::string FPath;
  bool FIsNew;
};

void SetParameter(TIParam& parameter, const Variant& value) {
  switch (value.Kind()) {
    case TVariantKind::Null:
      parameter.Clear();
      break;
    case TVariantKind::Float:
      parameter.AsFloat(value.AsFloat());
      break;
    case TVariantKind::Date:
      parameter.AsDateTime(value.AsDate());
      break;
    default:
      parameter.AsString(value.AsText());
  }
}

void WriteTable(TSqliteDatabase& database, const TTableData& data) {
  for (const std::string& statement : CreateStatements(*data.table)) database.Execute(statement);
  const TOwned<TIQuery> insert = Make<TIQuery>();
  insert->DatabaseName(database->DatabaseName());
  insert->SQLText(InsertStatement(*data.table));
  insert->ParamByName("USER_IPL").AsString(ILoginInfo().User());
  int id = 0;
  for (const std::vector<Variant>& row : data.rows) {
    insert->ParamByName("ID").AsFloat(++id);
    for (std::size_t i = 0; i < row.size(); ++i) {
      SetParameter(insert->ParamByName(data.table->columns[i].name), row[i]);
    }
    insert->ExecSQL();
  }
  database.Execute(Format("create sequence %s start with %d", SequenceName(data.table->name),
                          data.rows.size() + 1));
}

}  // namespace

void LoadHospital(const std::string& file, const std::string& dataDirectory) {
  // All of it first: a mistake in the last file costs no database.
  const std::vector<TTableData> hospital = ReadHospital(dataDirectory);
  TNewFile newFile(file);
  TSqliteDatabase database(kDatabase, file);
  if (HoldsWard(database)) throw Exception(file + ": the ward is loaded already");
  database->StartTransaction("ward: load");
  try {
    for (const TTableData& table : hospital) WriteTable(database, table);
    WriteAdministration(database);
  } catch (...) {
    database->Rollback("ward: load");
    throw;
  }
  database->Commit("ward: load");
  newFile.Keep();
}

void Load(const std::string& file, const std::string& dataDirectory) {
  LoadHospital(file, dataDirectory);
  TSqliteDatabase database = OpenWard(file);
  std::cout << file << " holds the hospital now:\n\n";
  PrintLines(RowCounts(database));
}

}  // namespace ward
