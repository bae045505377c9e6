#pragma once
// TplPerObject: the base class of every persistent business object. One instance stands for one
// row, identified by its provider and an ID. Applications derive their classes from it.
//
// All values are text in the store `data`; typed reading converts on the way out. The number that
// stands for no value is kNoFloat, the date kNoDate.
//
// So far an object is made, loaded, read and told of; editing and saving come next, see
// docs/architecture.md. Belongs to the main thread.

#include <memory>
#include <string>
#include <string_view>

#include "perlayer/foundation/TplDomainObject.h"
#include "perlayer/platform/TDateTime.h"
#include "perlayer/platform/TDelegate.h"
#include "perlayer/platform/Variant.h"
#include "perlayer/provider/TIboData.h"

namespace perlayer {

class TDataSet;
class TPlClassMetaData;
class TplPerObject;
class TplProvider;

enum class TIPersistentObjectState : std::uint8_t {
  posBrowse,
  posEdit,
  posCreating,
  posCreated,
  posInsert
};

// Computes a calculated attribute.
using TCalcAttrValueProc =
    TDelegate<std::string(TplPerObject* APerObject, const std::string& AAttribute)>;

class TplPerObject : public TplDomainObject {
  TCLASS(TplPerObject, TplDomainObject)
 public:
  static constexpr double kNoFloat = -2147483647.0;
  static constexpr TDateTime kNoDate = -1.0;

  // AOwner is the provider. Raises "TplPerObject.Create: Can not create new object without
  // provider!"
  void Create(TPlBaseObject* AOwner, TObject* ARetainer) override;
  void Destroy() override;

  void DoNotifyAction(TplDomainObject* Sender, TIBaseObjectAction ActionType, TObject* Data,
                      TINotifiedObjectList* AVisitedObjectList) override;
  int GetImageIndex() override { return 58; }
  std::string GetTextDescription() override;  // "[17] TpoPatient"
  bool GetModified() override { return FModified; }
  // False when the user may update the object, or insert it while it is new.
  bool GetReadOnly() override;
  std::string GetHint() override { return GetTextDescription(); }
  void SetLockedBy(TplLockedBy ALockedBy) override;
  TplLockedBy GetLockedBy() override;

  // While an object initializes, writes mark nothing as changed.
  virtual void SetInitializingBo(bool AInitializing);
  virtual std::string GetGID();       // the value of the ID attribute
  virtual std::string GetGlobalID();  // the provider's key and the ID, with nothing between
  virtual std::string GetObjectType() { return ClassName(); }
  // After the values have been read; asks for notification of changes here.
  virtual void DoAfterLoad();
  virtual std::string GetAllTextDescription() { return GetTextDescription(); }
  virtual void ResetInternalCache();
  // Stores the mark and, on a change, tells the retainers.
  virtual void SetObjectMarkedDeleted(bool AMarkedDeleted);
  virtual TPlClassMetaData* GetMetaData();
  // Whether the class follows the time stamp of its row.
  virtual bool GetKeepObjectTimestamp() { return false; }
  virtual bool GetManualNotification() { return false; }
  virtual void SetTimeStamp(TDateTime ATimeStamp) { FTimeStamp = ATimeStamp; }
  virtual TDateTime GetTimeStamp() { return FTimeStamp; }
  virtual void SetTimeStampAfterGetObject();
  // Makes a just-created object count as unsaved under a throw-away ID.
  virtual void DiposeNewlyCreatedMe();
  // Raises "Not implemented yet: %s" until saving is there.
  virtual void SaveData();
  virtual void InitializeFromDataSet(TDataSet* ADataSet);
  virtual void InitializeAfterGetDataFromDataSet() {}
  virtual void DoOnCommit() {}
  virtual void DoOnRollback() {}

  // Raise "GetAttrValue Wrong attribute %s(%s) %s" when the class has no attribute of that name.
  virtual std::string GetAttrValue(const std::string& AName);
  virtual std::string GetAttrOldValue(const std::string& AName);
  virtual std::string GetAttrValueForReport(const std::string& AName) {
    return GetAttrValue(AName);
  }
  virtual std::string GetCalcAttrValue(const std::string& AName);

  // No value and a text that is no number read as kNoFloat; the latter is logged.
  double GetAttrValueAsFloat(const std::string& AName);
  // No value and a text that is no date read as kNoDate.
  TDateTime GetAttrValueAsDate(const std::string& AName);
  std::string GetAttrValueAsFormatedDate(const std::string& AName);  // without seconds
  // Unassigned for attributes that are no text, float or date.
  Variant GetAttrValueAsVariant(const std::string& AName);
  double GetAttrOldValueAsFloat(const std::string& AName);
  TDateTime GetAttrOldValueAsDate(const std::string& AName);
  int AttrCount();
  std::string AttrName(int AIndex);
  bool AttrExists(const std::string& AName);

  TIPersistentObjectState GetEditState() const;
  void OnCommit() { DoOnCommit(); }
  void OnRollback() { DoOnRollback(); }
  void SetNotify(bool ANotify);

  TplProvider* aiProvider() const { return FProvider; }
  TPlClassMetaData* aiObjectMetaData() { return GetMetaData(); }
  std::string aiGID() { return GetGID(); }
  std::string aiGlobalID() { return GetGlobalID(); }
  std::string aiObjectType() { return GetObjectType(); }
  bool aiNewObject() const { return FNewObject; }
  bool aiObjectMarkedDeleted() const { return FbObjectMarkedDeleted; }
  bool bInitializing() const { return FInitializingBo; }
  std::string aiCaption();
  std::string aiAllTextDescription() { return GetAllTextDescription(); }
  TIPersistentObjectState aiEditState() const { return GetEditState(); }
  bool aiDestroying() const { return FDestroying; }
  int aiTag() const { return FTag; }
  void aiTag(int tag) { FTag = tag; }
  bool aiEmptyFloatReturnsZero() const { return FbEmptyFloatReturnsZero; }
  void aiEmptyFloatReturnsZero(bool zero) { FbEmptyFloatReturnsZero = zero; }
  const TCalcAttrValueProc& OnCalcAttribute() const;
  void OnCalcAttribute(TCalcAttrValueProc event);

  // Bytes that this object takes, its values included.
  std::size_t MemoryUsed() const { return ClassType().InstanceSize() + data.MemoryUsed(); }

 protected:
  friend class TplProvider;

  TIboData data;
  std::string FGID;  // set by a fetch by ID; the layer does not read it
  bool FNewObject = false;
  bool FModified = false;
  bool FInitializingBo = false;
  TDateTime FTimeStamp = kNoDate;

 private:
  double NoFloat() const { return FbEmptyFloatReturnsZero ? 0.0 : kNoFloat; }

  bool FbObjectMarkedDeleted = false;
  bool FbEmptyFloatReturnsZero = false;
  bool FDestroying = false;
  TplLockedBy FLockedBy = TplLockedBy::lbNone;
  int FTag = 0;
  TplProvider* FProvider = nullptr;                        // not owned; never nil after Create
  std::unique_ptr<TCalcAttrValueProc> FCalcAttrValueProc;  // most objects have none
};

// The object's description and its attributes, a line each, for diagnosis.
std::string DumpPerObject(TplPerObject* AObject);

}  // namespace perlayer
