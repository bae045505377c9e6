#pragma once
// Encounters of patients with the hospital. A row's ENCOUNTERCLASS tells what it becomes: a
// TpoEncounter, or a TpoStay for those that are hospital stays, with more attributes.

#include <string>

#include "WardObject.h"
#include "perlayer/object/TplMember.h"

namespace ward {

using namespace perlayer;

class TpoPatient;

class TpoEncounter : public TpoWardObject {
  TCLASS(TpoEncounter, TpoWardObject)
 public:
  void Create(TPlBaseObject* AOwner, TObject* ARetainer) override;
  TpoPatient* Patient();  // nullptr when it is deactivated
  std::string GetTextDescription()
      override;  // "27.01.2023 16:17, ambulatory: Encounter for symptom"
  // HOURS from beginning to end; empty while it lasts.
  std::string GetCalcAttrValue(const std::string& AName) override;

 private:
  TplMember<TpoPatient> FPatient;
};

class TpoStay : public TpoEncounter {
  TCLASS(TpoStay, TpoEncounter)
 public:
  std::string GetTextDescription() override;  // the same, with the hospital
};

class TplEncounter : public TplWardProvider {
  TCLASS(TplEncounter, TplWardProvider)
 public:
  // For a stay: its own provider, with that one's query in AObjectSQL.
  TplProvider* GetProviderFromDataSet(TDataSet* ASourceDataSet, TIQuery*& AObjectSQL) override;
  TplPerObject* InternalCreateObject(TObject* ARetainer) override;
};

class TplStay : public TplEncounter {
  TCLASS(TplStay, TplEncounter)
 public:
  TplProvider* GetProviderFromDataSet(TDataSet* ASourceDataSet, TIQuery*& AObjectSQL) override;
  TplPerObject* InternalCreateObject(TObject* ARetainer) override;
};

}  // namespace ward
