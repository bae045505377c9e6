#pragma once
// Discharge letters of patients. Their row goes when they are deleted: nothing counts as deleted.

#include <string>

#include "WardObject.h"

namespace ward {

using namespace perlayer;

// The letter, a CLOB, does not come with the row: LETTER is empty until it is loaded.
class TpoDischarge : public TpoWardObject {
  TCLASS(TpoDischarge, TpoWardObject)
 public:
  std::string GetTextDescription() override;  // "03.02.2023: Odpust iz bolnišnice"
  void LoadLetter();
  // Writes the letter that was loaded or entered, in the transaction of the row.
  void DoAfterSave() override;

 private:
  bool FLetterLoaded = false;
};

WARD_PROVIDER(TplDischarge, TpoDischarge)

}  // namespace ward
