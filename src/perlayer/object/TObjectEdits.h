#pragma once
// TObjectEdits: what an object keeps beside its values once it is edited, locked or shown. Most
// objects are only read and have none of it. Private to TplPerObject.

#include <memory>
#include <string>

#include "perlayer/corekit/IInterfaceList.h"
#include "perlayer/foundation/FoundationTypes.h"
#include "perlayer/foundation/TPlDictionary.h"
#include "perlayer/object/IboDataSet.h"
#include "perlayer/platform/TDelegate.h"
#include "perlayer/platform/TTextList.h"

namespace perlayer {

class TPlTransaction;

struct TObjectEdits {
  struct TError {
    std::string message;
    TIErrorLevel level;
  };

  std::unique_ptr<IboDataSet> FDataSet;
  TTextList<TError> FErrors;  // by attribute, in the order of coming
  TOwned<TPlDictionary> FReadOnlyAttributes;
  TInterfaceRef<IInterfaceList> FAttributeValueChangedHandlers;
  std::string FOldActiveValue;
  std::string FLockGroup;
  std::string FBOMasterDBNotifyGlobalID;
  TNotifyEvent FOnBeforeFree;
  TPlTransaction* FTransaction = nullptr;  // not owned
};

}  // namespace perlayer
