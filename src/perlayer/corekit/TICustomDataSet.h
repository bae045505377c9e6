#pragma once
// TICustomDataSet: a data set whose rows know for themselves what is valid. Its subclasses check a
// value before it is stored and tell, for whoever shows a field, what is wrong with it.
//
// Main thread only.

#include "perlayer/corekit/TDataSet.h"
#include "perlayer/corekit/TField.h"

namespace perlayer {

class TICustomDataSet : public TDataSet {
  TCLASS(TICustomDataSet, TDataSet)
 public:
  // A field is about to take a value, which can be read from it. What this raises keeps the value
  // out; what it only notes is asked for by the others.
  virtual void FieldStandardCheck(TField* /*fdField*/) {}
  virtual bool IsFieldValid(TField* /*fdField*/) { return true; }
  virtual int FieldErrorLevel(TField* /*fdField*/) { return 0; }
  virtual std::string FieldErrorMessage(TField* /*fdField*/) { return {}; }

 protected:
  void ValidateField(TField* field) override {
    const TAlive alive(this);
    const TAlive fieldAlive(field);
    TDataSet::ValidateField(field);
    if (alive && fieldAlive) FieldStandardCheck(field);
  }
};

}  // namespace perlayer
