#include "Listing.h"

#include <iostream>

#include "Database.h"
#include "Hospital.h"
#include "Kinds.h"
#include "Lines.h"
#include "TextTable.h"
#include "perlayer/corekit/TISifranti.h"
#include "perlayer/list/TPlBoList.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/Text.h"
#include "perlayer/provider/TPlClassMetaData.h"

namespace ward {

using namespace perlayer;

namespace {

constexpr std::size_t kWidth = 104;

std::string AttributeOf(const std::string& column) {
  return column.substr(column.starts_with('@') ? 1 : 0);
}

TTextTable::TContent ContentOf(TPlClassMetaData* metaData, const std::string& column) {
  if (column.starts_with('@')) return TTextTable::TContent::text;
  switch (metaData->GetAttrProperties(column).iType) {
    case TFieldType::ftFloat:
    case TFieldType::ftInteger:
      return TTextTable::TContent::number;
    case TFieldType::ftDateTime:
      return TTextTable::TContent::date;
    default:
      return TTextTable::TContent::text;
  }
}

// Subclasses have attributes that others have not: nothing stands there.
std::string CellOf(TplPerObject* object, const std::string& column) {
  const std::string name = AttributeOf(column);
  TPlClassMetaData* metaData = object->aiObjectMetaData();
  if (!metaData->HasAttribute(name)) return "";
  const std::string value = object->GetAttrValue(name);
  if (!column.starts_with('@')) return value;
  const std::string codes = metaData->GetAttrProperties(name).sSifrant;
  return codes.empty() ? value : Sifranti().Desc(codes, value);
}

// The description of the column's attribute, by a class that has it.
TPlClassMetaData* ClassWith(TPlBoList* list, const std::string& column) {
  const std::string name = AttributeOf(column);
  TPlClassMetaData* metaData = list->aiProvider()->aiMetaData();
  if (metaData->HasAttribute(name)) return metaData;
  for (TplPerObject* object : *list) {
    if (object->aiObjectMetaData()->HasAttribute(name)) return object->aiObjectMetaData();
  }
  throw Exception(Format("there is no attribute \"%s\"", name));
}

}  // namespace

std::vector<std::string> ListTable(TPlBoList* list, const std::vector<std::string>& columns) {
  std::vector<TTextTable::TColumn> titles;
  for (const std::string& column : columns) {
    titles.push_back({UpperCase(column), ContentOf(ClassWith(list, column), column)});
  }
  TTextTable table(titles);
  list->First();
  for (list->Next(); !list->EOL(); list->Next()) {
    std::vector<std::string> cells;
    for (const std::string& column : columns) {
      cells.push_back(CellOf(list->NSCurrObject(), column));
    }
    table.Add(std::move(cells));
  }
  return table.Lines(kWidth);
}

void List(const std::string& databaseFile, const TWardTable& table, const TListRequest& request) {
  const TSqliteDatabase database = OpenWard(databaseFile);
  LoadHospitalClasses();
  const THold<TPlBoList> list = FetchedList(ProviderOf(table), "1=1");
  std::vector<std::string> columns = request.columns;
  if (columns.empty()) columns = SplitText(table.listed, ",");
  if (!request.order.empty()) list->OrderBy(request.order);
  list->aiListFilter(request.filter);
  const std::vector<std::string> lines = ListTable(list.Get(), columns);
  PrintLines(lines);
  const auto shown = static_cast<std::size_t>(list->CountWithFilter());
  const auto all = static_cast<std::size_t>(list->Count());
  std::cout << '\n'
            << (shown == all ? "" : IntToStr(list->CountWithFilter()) + " of ")
            << Counted(all, KindName(table)) << '\n';
}

}  // namespace ward
