#include "perlayer/database/TWriteQueries.h"

#include <algorithm>

#include "perlayer/corekit/TField.h"
#include "perlayer/provider/TcmpClassMap.h"

namespace perlayer {

namespace {

// The statements that the classes of one transaction take turns with. A class whose every row has a
// text of its own, as those with a time stamp in it do, passes through the last places only.
constexpr std::size_t kKeptQueries = 16;
// Larger values are not kept beyond their run.
constexpr std::size_t kKeptBytes = std::size_t{1} << 16;

std::size_t BytesOf(TIQuery& query) {
  std::size_t bytes = 0;
  for (int i = 0; i < query.ParamCount(); ++i) {
    const TIParam& param = query.Params(i);
    const bool isBytes =
        param.Kind() == TIParam::TKind::text || param.Kind() == TIParam::TKind::blob;
    if (isBytes) bytes += param.Text().size();
  }
  return bytes;
}

}  // namespace

std::shared_ptr<TWriteQueries::TKept> TWriteQueries::Take(const std::string& sql) {
  if (!FKept.empty() && !FKept.front()->isOut && FKept.front()->text == sql) {
    FKept.front()->isOut = true;
    return FKept.front();
  }
  const auto known = std::find_if(FKept.begin(), FKept.end(), [&](const std::shared_ptr<TKept>& k) {
    return !k->isOut && k->text == sql;
  });
  if (known != FKept.end()) {
    std::rotate(FKept.begin(), known, known + 1);
    FKept.front()->isOut = true;
    return FKept.front();
  }
  auto kept = std::make_shared<TKept>();
  kept->text = sql;
  kept->query = Make<TIQuery>();
  kept->query->DatabaseName(TcmpClassMap::kDatabaseName);
  kept->query->SQLText(sql);
  kept->fields.assign(static_cast<std::size_t>(kept->query->ParamCount()), -1);
  kept->isOut = true;
  FKept.insert(FKept.begin(), kept);
  if (FKept.size() > kKeptQueries) FKept.pop_back();  // one that is out lives as long as its lease
  return kept;
}

void TWriteQueries::ReleaseStatements() noexcept {
  for (const std::shared_ptr<TKept>& kept : FKept) {
    if (!kept->isOut) kept->query->ReleaseStatement();
  }
}

TWriteQueries::TLease::TLease(TWriteQueries& queries, const std::string& sql)
    : FQueries(queries), FKept(queries.Take(sql)) {}

TWriteQueries::TLease::~TLease() {
  FKept->isOut = false;
  const bool isLarge = FHasParams && BytesOf(*FKept->query) > kKeptBytes;
  if (!FSucceeded || isLarge) std::erase(FQueries.FKept, FKept);
}

void TWriteQueries::TLease::TypeParams(const TDataSet& fields) {
  FHasParams = true;
  TIQuery& query = *FKept->query;
  const int count = fields.FieldCount();
  for (int i = 0; i < query.ParamCount(); ++i) {
    TIParam& param = query.Params(i);
    int& place = FKept->fields[static_cast<std::size_t>(i)];
    const TField* field = place >= 0 && place < count ? fields.Fields(place) : nullptr;
    if (field == nullptr || field->FieldName() != param.Name()) {
      field = fields.FindField(param.Name());
      place = field == nullptr ? -1 : field->Index();
    }
    param.DataType(field == nullptr ? TFieldType::ftUnknown : field->DataType());
  }
}

}  // namespace perlayer
