#include "perlayer/foundation/FoundationTypes.h"

#include <iterator>

namespace perlayer {

const char* BaseObjectActionName(TIBaseObjectAction action) {
  static constexpr const char* kNames[] = {
      "paCreate",        "paAddRef",        "paRelease",       "paFree",           "paReload",
      "paMarkedDeleted", "paUnMarkDeleted", "paDelete",        "paModified",       "paValidate",
      "paPostData",      "paCancelData",    "paAddToList",     "paDeleteFromList", "paSort",
      "paLock",          "paUnlock",        "paNotifyRefresh", "paDBChanged"};
  const auto index = static_cast<std::size_t>(action);
  return index < std::size(kNames) ? kNames[index] : "";
}

}  // namespace perlayer
