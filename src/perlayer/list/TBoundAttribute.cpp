#include "perlayer/list/TBoundAttribute.h"

#include "perlayer/provider/TplProvider.h"

namespace perlayer {

TObjectShape::TObjectShape(TplPerObject* object) {
  if (!object->TellsStoredValues()) return;
  TPlClassMetaData* const metaData = object->aiProvider()->GetMetaData();
  if (metaData->GetVersion(FVersion)) FMetaData = metaData;
}

// False where there is nothing to be bound to.
bool TBoundAttribute::Bind(TObjectShape& shape) {
  if (shape.FMetaData == nullptr) return false;
  FIndex = shape.FMetaData->GetAttrIndex(FName);
  const TField* const field = FIndex < 0 ? nullptr : shape.FMetaData->GetFieldByIndex(FIndex);
  if (field == nullptr) {
    FIndex = -1;
  } else {
    FType = field->DataType();
  }
  FVersion = shape.FVersion;
  return true;
}

}  // namespace perlayer
