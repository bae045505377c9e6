#include "perlayer/reclaim/TplGlobalDictionary.h"

#include "perlayer/foundation/BoMessageDlg.h"

namespace perlayer {

void TplGlobalDictionary::aiUSEDICTIONARY(bool use) {
  if (use) NotImplemented("TplGlobalDictionary.aiUSEDICTIONARY");
}

}  // namespace perlayer
