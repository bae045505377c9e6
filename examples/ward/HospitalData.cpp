#include "HospitalData.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>

#include "CsvFile.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/TDateTime.h"
#include "perlayer/platform/Text.h"

namespace ward {

namespace {

using TKeys = std::unordered_map<std::string, int>;                 // UUID to ID
using TKeysOfTables = std::unordered_map<std::string_view, TKeys>;  // by table

// For each column of the table its position in the file. The file has exactly these columns, in
// any order.
std::vector<std::size_t> ColumnPositions(const TWardTable& table, const TCsvFile& file) {
  std::vector<std::size_t> positions;
  for (const TWardColumn& column : table.columns) {
    const auto found = std::find(file.header.begin(), file.header.end(), column.csv);
    if (found == file.header.end()) {
      RaiseCsv(file.path, 1, Format("expected a column \"%s\", found none", column.csv));
    }
    positions.push_back(static_cast<std::size_t>(found - file.header.begin()));
  }
  for (std::size_t i = 0; i < file.header.size(); ++i) {
    if (std::find(positions.begin(), positions.end(), i) != positions.end()) continue;
    RaiseCsv(file.path, 1, Format("\"%s\" is no column that is expected here", file.header[i]));
  }
  return positions;
}

class TTableReader {
 public:
  TTableReader(const TWardTable& table, const std::string& directory, TKeysOfTables& keys)
      : FTable(table), FFile(ReadCsvFile(directory + "/" + table.file)), FKeys(keys) {}

  TTableData Read() {
    const std::vector<std::size_t> positions = ColumnPositions(FTable, FFile);
    TTableData data{&FTable, {}};
    data.rows.reserve(FFile.rows.size());
    for (const TCsvRow& row : FFile.rows) {
      FId = static_cast<int>(data.rows.size()) + 1;
      std::vector<Variant> values;
      values.reserve(positions.size());
      for (std::size_t i = 0; i < positions.size(); ++i) {
        const TWardColumn& column = FTable.columns[i];
        try {
          values.push_back(Value(column, row.fields[positions[i]]));
        } catch (const Exception& e) {
          RaiseCsv(FFile.path, row.line, Format("%s: %s", column.csv, e.Message()));
        }
      }
      data.rows.push_back(std::move(values));
    }
    return data;
  }

 private:
  Variant Value(const TWardColumn& column, const std::string& text) {
    if (text.empty()) {
      if (column.required) throw Exception("expected a value, found none");
      return Variant::Null();
    }
    switch (column.kind) {
      case TColumnKind::number:
        return Variant(StrToFloat(text));
      case TColumnKind::date:
        return Variant::Date(ISO8601ToDateTime(text));
      case TColumnKind::reference:
        return Variant(Referred(column, text));
      case TColumnKind::uuid:
        if (!FKeys[FTable.name].emplace(text, FId).second) {
          throw Exception(Format("\"%s\" stands in an earlier row already", text));
        }
        break;
      case TColumnKind::text:
      case TColumnKind::clob:
      case TColumnKind::blob:
        break;
    }
    if (Utf8Length(text) > static_cast<std::size_t>(column.size)) {
      throw Exception(
          Format("expected at most %d characters, found %d", column.size, Utf8Length(text)));
    }
    return Variant(text);
  }

  double Referred(const TWardColumn& column, const std::string& uuid) const {
    const TKeys& keys = FKeys[column.table];
    const auto found = keys.find(uuid);
    if (found == keys.end()) {
      throw Exception(Format("\"%s\" is no row of table %s", uuid, column.table));
    }
    return found->second;
  }

  const TWardTable& FTable;
  const TCsvFile FFile;
  TKeysOfTables& FKeys;
  int FId = 0;
};

}  // namespace

std::vector<TTableData> ReadHospital(const std::string& directory) {
  TKeysOfTables keys;
  std::vector<TTableData> hospital;
  for (const TWardTable& table : WardTables()) {
    hospital.push_back(table.file == nullptr ? TTableData{&table, {}}
                                             : TTableReader(table, directory, keys).Read());
  }
  return hospital;
}

}  // namespace ward
