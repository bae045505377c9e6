#include "perlayer/foundation/TPlDictionary.h"

namespace perlayer {

// The count is read anew at each step: what an object does when it goes may change the list.
void TPlDictionary::FreeWithContents() {
  for (int i = 0; i < Count(); ++i) {
    if (TObject* object = Objects(i)) object->Free();
  }
  Free();
}

void TPlList::FreeWithContents() {
  for (int i = 0; i < Count(); ++i) {
    if (TObject* object = Items(i)) object->Free();
  }
  Free();
}

}  // namespace perlayer
