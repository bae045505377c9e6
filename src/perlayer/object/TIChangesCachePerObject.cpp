#include "perlayer/object/TIChangesCachePerObject.h"

#include <cmath>

#include "perlayer/corekit/ILog.h"
#include "perlayer/corekit/TField.h"
#include "perlayer/corekit/TIQuery.h"
#include "perlayer/object/TplPerObject.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/Text.h"
#include "perlayer/provider/TcmpClassMap.h"
#include "perlayer/provider/TplProvider.h"

namespace perlayer {

void TIChangesCachePerObject::Create(TObject* APerObject) {
  FPerObject = Cast<TplPerObject>(APerObject);
  FAttributes = New<TStringList>();
  FChangedAttributes = New<TStringList>();
}

void TIChangesCachePerObject::Destroy() {
  FreeAndNil(FAttributes);
  FreeAndNil(FChangedAttributes);
  TObject::Destroy();
}

TplPerObject* TIChangesCachePerObject::PerObject() const {
  return static_cast<TplPerObject*>(FPerObject);
}

void TIChangesCachePerObject::Note(TStringList& list, const std::string& name,
                                   const std::string& value) {
  list.Values(name, value.empty() ? kEmpty : std::string_view(value));
}

std::string TIChangesCachePerObject::Noted(const TStringList& list, int index) {
  std::string value = list.ValueFromIndex(index);
  return value == kEmpty ? std::string() : value;
}

void TIChangesCachePerObject::OnSetAttrValue(const std::string& AName, const std::string& AValue) {
  if (!FEnableTracking) return;
  Note(*FChangedAttributes, AName, Empty(AValue) ? std::string() : AValue);
}

void TIChangesCachePerObject::OnDoCancelData() { FChangedAttributes->Clear(); }

void TIChangesCachePerObject::OnDoSaveData() {
  GetChangedAttributes();
  FEnableTracking = false;
  TryFinally(
      [&] {
        ChangeAttributes();
        ReSetChangedAttributes();
      },
      [&] { FEnableTracking = true; });
}

TIQuery* TIChangesCachePerObject::GetQuery() {
  TplProvider* provider = PerObject()->aiProvider();
  TOwned<TIQuery> query = Make<TIQuery>();
  query->AssignSQL(*provider->aiClassMap()->GetQuery(provider->aiQueryName()));
  query->ParamByName(provider->GetIDAttrName()).AsString(PerObject()->GetGID());
  return query.Release();
}

void TIChangesCachePerObject::GetChangedAttributes() {
  TplPerObject* object = PerObject();
  const TOwned<TIQuery> query(GetQuery());
  query->Open();
  FAttributes->Clear();
  if (query->IsEmpty()) return;
  const std::string id = object->aiProvider()->GetIDAttrName();
  for (int i = 0; i < object->AttrCount(); ++i) {
    const std::string name = object->AttrName(i);
    if (SameText(name, id)) continue;
    const TField* field = query->FieldByName(name);
    const std::string text = field->AsString();
    bool differs;
    if (field->DataType() == TFieldType::ftDateTime) {
      const TDateTime row = field->IsNull() ? 0 : field->AsDateTime();
      const TDateTime old = object->GetAttrOldValueAsDate(name);
      const auto seconds = [](TDateTime value) { return std::llround(value * 86400); };
      differs = seconds(row) != seconds(old) && (row > 0 || old > 0);  // the store keeps seconds
    } else {
      differs = text != object->GetAttrOldValue(name);
    }
    if (differs) Note(*FAttributes, name, text);
  }
}

void TIChangesCachePerObject::ChangeAttributes() {
  TplPerObject* object = PerObject();
  for (int i = 0; i < FAttributes->Count(); ++i) {
    const std::string name = FAttributes->Names(i);
    const bool initializing = object->bInitializing();
    try {
      object->SetInitializingBo(true);
      TryFinally([&] { object->SetAttrValue(name, Noted(*FAttributes, i)); },
                 [&] { object->SetInitializingBo(initializing); });
    } catch (const std::exception& e) {
      ILog(Format("TIChangesCachePerObject.ChangeAttributes error setting %s: %s", name, e.what()));
    }
  }
}

void TIChangesCachePerObject::ReSetChangedAttributes() {
  for (int i = 0; i < FChangedAttributes->Count(); ++i) {
    PerObject()->SetAttrValue(FChangedAttributes->Names(i), Noted(*FChangedAttributes, i));
  }
  FChangedAttributes->Clear();
}

}  // namespace perlayer
