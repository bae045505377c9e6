#include "perlayer/provider/TIGetTableOwner.h"

#include "perlayer/corekit/TIQuery.h"
#include "perlayer/corekit/TISifranti.h"
#include "perlayer/platform/TLayer.h"
#include "perlayer/platform/Text.h"
#include "perlayer/provider/TcmpClassMap.h"

namespace perlayer {

namespace {
// TABLE=OWNER
TStringList* Owners() { return TLayer::ObjectPart<TStringList>(TLayerPart::tableOwners); }

bool IsBlank(char c) { return static_cast<unsigned char>(c) <= 32; }
}  // namespace

void TIGetTableOwner::Initialize(TcmpClassMap* AClassMap) {
  for (int i = 0; i < AClassMap->ComponentCount(); ++i) {
    const auto* query = As<TIQuery>(AClassMap->Components(i));
    if (query == nullptr) continue;
    std::string owner;
    std::string table;
    GetOwnerFromSelect(query->SQLText(), owner, table);
    if (owner != Sifranti().DefaultOwner() && !table.empty()) Owners()->Values(table, owner);
  }
}

void TIGetTableOwner::GetOwnerFromSelect(std::string_view ASelect, std::string& AOwner,
                                         std::string& ATable) {
  AOwner.clear();
  ATable.clear();
  const std::string text = AsciiUpperCase(ASelect);
  const std::size_t from = text.find("FROM");
  if (from == std::string::npos) return;
  std::size_t begin = from + 5;
  while (begin < text.size() && IsBlank(text[begin])) ++begin;
  std::size_t end = begin;
  while (end < text.size() && !IsBlank(text[end]) && text[end] != ',') ++end;
  if (end >= text.size()) return;
  // Cut from the text itself: the upper case of a name may be longer.
  const std::string_view reference = ASelect.substr(begin, end - begin);
  const std::size_t point = reference.find('.');
  if (point == std::string_view::npos) return;
  AOwner = UpperCase(reference.substr(0, point));
  ATable = UpperCase(reference.substr(point + 1));
}

void TIGetTableOwner::GetTableOwner(TObject*, const std::string& ASifrant, std::string& AOwner) {
  AOwner = Owners()->Values(ASifrant);
  if (AOwner.empty()) AOwner = Sifranti().DefaultOwner();
}

}  // namespace perlayer
