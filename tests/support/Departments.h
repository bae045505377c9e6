#pragma once
// Departments for tests of relations: each has a parent, parts, and a partner that is told by its
// name; and variables that a test fills by hand. Their end can be watched and made to fail.

#include <set>
#include <string>

#include "perlayer/list/TPlBoList.h"
#include "perlayer/object/TIObjectPointerList.h"
#include "support/HospitalFixture.h"

namespace perlayer {

inline TClassMapDefinition DepartmentMap() {
  return TClassMapBuilder("departments")
      .Query("quDepartment")
      .Sql("select ID, PARENT_ID, NAME, PARTNER\nfrom OMRA.DEPARTMENT\nwhere\nID = :ID")
      .Float("ID")
      .Float("PARENT_ID")
      .String("NAME", 30, "Ime")
      .String("PARTNER", 30)
      .Update("usDepartment")
      .Insert(
          "insert into OMRA.DEPARTMENT\n(ID, PARENT_ID, NAME, PARTNER)\nvalues\n(:ID, :PARENT_ID, "
          ":NAME, :PARTNER)")
      .Modify(
          "update OMRA.DEPARTMENT\nset ID = :ID, PARENT_ID = :PARENT_ID, NAME = :NAME, PARTNER = "
          ":PARTNER\nwhere ID = :ID")
      .Delete("delete from OMRA.DEPARTMENT\nwhere ID = :ID")
      .Build();
}

class TpoDepartment : public TplPerObject {
  TCLASS(TpoDepartment, TplPerObject)
 public:
  static inline std::string Ended;  // "(7" when department 7 begins to end, "7)" in Destroy
  static inline bool EndMayFail = true;
  static inline bool CancelsHeld = false;
  static inline std::set<TpoDepartment*> Living;

  void Create(TPlBaseObject* AOwner, TObject* ARetainer) override {
    TplPerObject::Create(AOwner, ARetainer);
    Living.insert(this);
    RegisterAgregatedObjects({&FParent, &FParts, &FPartner, &FLinks[0], &FLinks[1], &FLinks[2]});
    aiLiObjectsModified()->Register({&FParts, &FPartner, &FLinks[0]});
    AddLockGroup("tree", {&FLinks[0]});
    AddLockGroup("tree", {&FParts, &FPartner});
  }
  void BeforeDestroy() override {
    if (EndMayFail) Faults.Pass("BeforeDestroy");
    Ended += "(" + ID();
    TplPerObject::BeforeDestroy();
  }
  void Destroy() override {
    Ended += ID() + ")";
    TplPerObject::Destroy();
  }
  void FreeInstance() override {
    Living.erase(this);
    TplPerObject::FreeInstance();
  }
  bool CanAssignFieldsWithReloadFlag() override {
    Faults.Pass("CanAssignFieldsWithReloadFlag");
    return true;
  }
  void DoCancelData() override {
    Faults.Pass("DoCancelData");
    if (CancelsHeld) aiLiObjectsModified()->CancelData();
  }
  TIAccessRights GetRights() override {
    using enum TIAccessRight;
    return Hidden ? TIAccessRights{arRead, arUpdate, arDelete, arInsert}
                  : TplPerObject::GetRights();
  }
  void DoBeforeSave() override { Faults.Pass("DoBeforeSave"); }
  void AfterSaveNonEditedObject() override { ++NonEdited; }

  TIboData& Store() { return data; }
  TpoDepartment* Parent();
  TPlBoList* Parts(const std::string& where = "");
  TpoDepartment* Partner();
  // Holds the object in the variable, with a reference of its own.
  void Link(int index, TplPerObject* object) {
    object->AddRef(this);
    FLinks[index] = object;
  }

  TplMember<TpoDepartment> FParent;
  TplMember<TPlBoList> FParts;
  TplMember<TpoDepartment> FPartner;
  TplMember<TplPerObject> FLinks[3];
  int NonEdited = 0;
  bool Hidden = false;  // from lists

 private:
  std::string ID() { return data.Count() == 0 ? "unread" : GetGID(); }
};
TPROVIDER(TplDepartment, TpoDepartment)

inline TpoDepartment* TpoDepartment::Parent() {
  return GetOne2OneRelation(FParent, "ID", Provider<TplDepartment>(), "PARENT_ID");
}
inline TPlBoList* TpoDepartment::Parts(const std::string& where) {
  return GetOne2ManyRelation(FParts, "PARENT_ID", Provider<TplDepartment>(), "ID", where, "");
}
inline TpoDepartment* TpoDepartment::Partner() {
  return GetOne2OneRelation(FPartner, "NAME", Provider<TplDepartment>(), "PARTNER");
}

class TDepartments : public THospital {
 protected:
  TDepartments() {
    TpoDepartment::Ended.clear();
    TpoDepartment::EndMayFail = true;
    TpoDepartment::CancelsHeld = false;
    Execute(
        "create table OMRA.DEPARTMENT (ID number(10) primary key, PARENT_ID number(10), NAME "
        "varchar2(30), PARTNER varchar2(30))");
    FDatabase->Commit("schema");
    FDepartments = New<TplDepartment>(nullptr, AddClassMap(DepartmentMap()));
    // Whatever is made on first use is made now, so that a test may count live objects.
    NewDepartment()->Release(FForm.Get());
    FDepartments->GetObject(FForm.Get(), "0", true);
    TpoDepartment::Ended.clear();
  }
  void AddDepartment(double id, double parent, const std::string& name,
                     const std::string& partner = "") {
    Execute("insert into OMRA.DEPARTMENT (ID, PARENT_ID, NAME, PARTNER) values (:ID, :P, :N, :R)",
            {id, parent, name, partner});
  }
  THold<TpoDepartment> Department(const std::string& id) { return {FDepartments, id}; }
  // One without a row, held by the form; "" keeps the temporary ID.
  TpoDepartment* NewDepartment(const std::string& id = "") {
    auto* department = static_cast<TpoDepartment*>(FDepartments->NewObject(FForm.Get()));
    if (!id.empty()) department->SetReadOnlyAttrValue("ID", id);
    return department;
  }

  TplDepartment* FDepartments = nullptr;
};

}  // namespace perlayer
