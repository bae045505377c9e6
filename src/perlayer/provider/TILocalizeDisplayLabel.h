#pragma once
// TILocalizeDisplayLabel: sees to it, when a class map is loaded, that the display label of each
// field and the one in its validation string agree. Main thread only.

#include "perlayer/corekit/TIFieldInfo.h"
#include "perlayer/platform/TList.h"

namespace perlayer {

class TIQuery;
class TcmpClassMap;

class TILocalizeDisplayLabel : public TObject {
  TCLASS(TILocalizeDisplayLabel, TObject)
 public:
  // The one instance, made on first call.
  static TILocalizeDisplayLabel* Instance();

  void Create();
  void Destroy() override;

  void ClassMapLoaded(TcmpClassMap* AClassMap);
  // Takes the first entry of the map out; absent, nothing happens.
  void ClassMapUnloaded(TcmpClassMap* AClassMap);
  void Execute(TcmpClassMap* AClassMap);
  void ExecuteAll();
  void LocalizeQuery(TIQuery* AQuery);
  void LocalizeField(TField* AField);

  const TObjectList& LoadedClassMaps() const { return *FLoadedClassMaps; }

 private:
  TIFieldInfo* FFieldInfo = nullptr;        // owned
  TObjectList* FLoadedClassMaps = nullptr;  // owned; its items are not
};

}  // namespace perlayer
