#include "perlayer/provider/TILocalizeDisplayLabel.h"

#include "perlayer/corekit/TIQuery.h"
#include "perlayer/platform/TLayer.h"
#include "perlayer/provider/TcmpClassMap.h"

namespace perlayer {

TILocalizeDisplayLabel* TILocalizeDisplayLabel::Instance() {
  return TLayer::ObjectPart<TILocalizeDisplayLabel>(TLayerPart::localizer);
}

void TILocalizeDisplayLabel::Create() {
  FFieldInfo = New<TIFieldInfo>();
  FLoadedClassMaps = New<TObjectList>(false);
}

void TILocalizeDisplayLabel::Destroy() {
  FreeAndNil(FLoadedClassMaps);
  FreeAndNil(FFieldInfo);
  TObject::Destroy();
}

void TILocalizeDisplayLabel::ClassMapLoaded(TcmpClassMap* AClassMap) {
  FLoadedClassMaps->Add(AClassMap);
}

void TILocalizeDisplayLabel::ClassMapUnloaded(TcmpClassMap* AClassMap) {
  FLoadedClassMaps->Remove(AClassMap);
}

void TILocalizeDisplayLabel::Execute(TcmpClassMap* AClassMap) {
  for (int i = 0; i < AClassMap->ComponentCount(); ++i) {
    if (auto* query = As<TIQuery>(AClassMap->Components(i))) LocalizeQuery(query);
  }
}

void TILocalizeDisplayLabel::ExecuteAll() {
  for (int i = 0; i < FLoadedClassMaps->Count(); ++i) {
    if (auto* map = As<TcmpClassMap>(FLoadedClassMaps->Items(i))) Execute(map);
  }
}

void TILocalizeDisplayLabel::LocalizeQuery(TIQuery* AQuery) {
  for (int i = 0; i < AQuery->FieldCount(); ++i) LocalizeField(AQuery->Fields(i));
}

void TILocalizeDisplayLabel::LocalizeField(TField* AField) {
  const std::string label = AField->DisplayLabel();
  FFieldInfo->Field(AField);
  FFieldInfo->SetDisplayLabel(label);
  FFieldInfo->Field(nullptr);
}

}  // namespace perlayer
