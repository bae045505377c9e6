// TplPerObject: validation and the errors of attributes.

#include <algorithm>

#include "perlayer/corekit/TISifranti.h"
#include "perlayer/corekit/TIValidInfo.h"
#include "perlayer/foundation/BoMessageDlg.h"
#include "perlayer/object/TObjectEdits.h"
#include "perlayer/object/TplPerObject.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/Text.h"
#include "perlayer/provider/TPlClassMetaData.h"
#include "perlayer/provider/TplProvider.h"
#include "perlayer/provider/TplProviderList.h"

namespace perlayer {

namespace {
constexpr const char* RSErrorsInRecord = "Napake v zapisu : %s";
}  // namespace

bool TplPerObject::ValidatesByMapAlone() const {
  return HasFact(kValidatesPlainly) && TellsStoredValues() &&
         (FEdits == nullptr || FEdits->FErrors.Count() == 0) &&
         !TplProvider::GetCallBackObject()->ValidatesAttributes();
}

bool TplPerObject::PassesMap(int AIndex) {
  switch (GetMetaData()->CheckOf(AIndex)) {
    case TPlClassMetaData::TCheck::none:
      return true;
    case TPlClassMetaData::TCheck::required:
      return !Empty(data.ValueView(AIndex));
    case TPlClassMetaData::TCheck::codeList:
      break;
  }
  return false;
}

// Of a value that has changed.
bool TplPerObject::ValidateWrite(int AIndex, const std::string& AName, const std::string& AValue) {
  if (FInitializingBo) return true;
  FModified = FNotChecked = true;
  bool valid = true;
  if (!FIgnoreValidation && !(ValidatesByMapAlone() && PassesMap(AIndex))) {
    const TAlive alive(this);
    valid = ValidateAttribute(AName, Variant(AValue));
    if (!alive) return valid;
  }
  if (IsHeard()) CallNotifyActionForAttribute(TIBaseObjectAction::paModified, AName);
  return valid;
}

bool TplPerObject::ValidateObject() {
  const TAlive alive(this);
  bool valid = true;
  bool byMap = ValidatesByMapAlone();
  int i = 0;
  int count = AttrCount();
  if (byMap) {
    const std::vector<int>& checked = GetMetaData()->CheckedAttributes();
    const auto stops = std::find_if(checked.begin(), checked.end(),
                                    [this](int index) { return !PassesMap(index); });
    i = stops == checked.end() ? count : *stops;
  }
  for (; i < count; ++i) {
    if (byMap && PassesMap(i)) continue;
    const std::string name = AttrName(i);
    if (!ValidateAttribute(name, Variant(GetAttrValue(name)))) valid = false;
    if (!alive) return false;
    byMap = ValidatesByMapAlone();
    count = AttrCount();
  }
  return valid && DoValidateObject();
}

bool TplPerObject::ValidateAttribute(const std::string& AName, const Variant& AValue) {
  const int index = GetMetaData()->GetAttrIndex(AName);
  TIValInfoRec calculated;
  if (index < 0) {
    calculated = ValidString2ValidInfo(GetMetaData()->GetCalcAttrProperties(AName).sValidInfo);
  }
  const TIValInfoRec& info = index < 0 ? calculated : GetMetaData()->ValInfoOf(index);
  const bool isEmpty = AValue.IsEmpty();
  if (info.required && isEmpty) {
    SetAttrError(AName, Format("Polje %s ne sme biti prazno.", info.displayLabel),
                 TIErrorLevel::elError);
    return false;
  }
  const TAlive alive(this);
  bool valid = isEmpty || (info.kind != "S" && info.kind != "MS") ||
               ValidateCode(AName, AValue.AsText(), info);
  if (!alive) return valid;
  TplProvider::GetCallBackObject()->DoValidateAttribute(this, valid, AName, AValue);
  if (valid && alive) SetAttrNoError(AName);
  return valid;
}

// The description is a copy: code lists and error events may come back here.
bool TplPerObject::ValidateCode(const std::string& AName, const std::string& ACode,
                                TIValInfoRec AInfo) {
  constexpr TIErrorLevel kLevel = TIErrorLevel::elError;
  const auto noSuchCode = [&] {
    SetAttrError(AName,
                 Format("Šifra %s šifranta %s v polju %s ne obstaja.", ACode, AInfo.codeList,
                        AInfo.displayLabel),
                 kLevel);
    return false;
  };
  if (AInfo.kind == "S") {
    return Sifranti().Exists(AInfo.codeList, ACode, false) || noSuchCode();
  }
  // A code that has left the list is tolerated for as long as it stays what it was.
  if (!SkupSifranti().Exists(AInfo.codeList, ACode, true, "", false) &&
      ACode != GetAttrOldValue(AName)) {
    return noSuchCode();
  }
  if (UpperCase(GetValueFromString(SkupSifranti().Params(AInfo.codeList, ACode), ";",
                                   "NI_VNOSA")) != "TRUE") {
    return true;
  }
  SetAttrError(AName,
               Format("Vnos izbrane vrednosti \"%s\" v polju \"%s\" ni dovoljen!", ACode,
                      AInfo.displayLabel),
               kLevel);
  return false;
}

int TplPerObject::SetAttrError(const std::string& AName, const std::string& AMessage,
                               TIErrorLevel ALevel) {
  std::string name = AName;
  std::string message = AMessage;
  bool ignore = false;
  const TAlive alive(this);
  FProvider->OnSetAttrError(name, message, ignore);
  if (ignore || !alive) return 0;
  TObjectEdits::TError error{FormatErrorMessage(message), ALevel};
  auto& errors = Edits().FErrors;
  const int index = errors.IndexOf(name);
  if (index >= 0) {
    errors.PayloadAt(index) = std::move(error);
  } else {
    errors.Add(name, std::move(error));
  }
  const int count = errors.Count();
  CallNotifyActionForAttribute(TIBaseObjectAction::paValidate, name);
  return count;
}

void TplPerObject::SetAttrNoError(const std::string& AName) {
  if (FEdits == nullptr) return;
  const int index = FEdits->FErrors.IndexOf(AName);
  if (index < 0) return;
  FEdits->FErrors.Delete(index);
  CallNotifyActionForAttribute(TIBaseObjectAction::paValidate, AName);
}

TIErrorLevel TplPerObject::GetAttrErrorLevel(const std::string& AName) const {
  const int index = FEdits == nullptr ? -1 : FEdits->FErrors.IndexOf(AName);
  return index < 0 ? TIErrorLevel::elNone : FEdits->FErrors.PayloadAt(index).level;
}

std::string TplPerObject::GetAttrErrorMessage(const std::string& AName) const {
  const int index = FEdits == nullptr ? -1 : FEdits->FErrors.IndexOf(AName);
  return index < 0 ? std::string() : FEdits->FErrors.PayloadAt(index).message;
}

bool TplPerObject::IsAttributeValid(const std::string& AName) const {
  return FEdits == nullptr || FEdits->FErrors.IndexOf(AName) < 0;
}

int TplPerObject::GetWarningCount() {
  int count = 0;
  for (int i = 0; i < AttrCount(); ++i) {
    if (GetAttrErrorLevel(AttrName(i)) == TIErrorLevel::elWarning) ++count;
  }
  return count;
}

std::string TplPerObject::GetWarningMessage() {
  std::string text = "\r\n";
  for (int i = 0; i < AttrCount(); ++i) {
    const std::string name = AttrName(i);
    if (GetAttrErrorLevel(name) == TIErrorLevel::elWarning) {
      text += GetAttrErrorMessage(name) + "\r\n";
    }
  }
  return text;
}

// The errors of all attributes as one text; `AErrors` tells whether one of them keeps the object
// from being posted.
std::string TplPerObject::PostErrors(bool& AErrors) const {
  std::string text;
  AErrors = false;
  for (int i = 0; FEdits != nullptr && i < FEdits->FErrors.Count(); ++i) {
    const TObjectEdits::TError& error = FEdits->FErrors.PayloadAt(i);
    const bool blocks =
        error.level == TIErrorLevel::elFatal || error.level == TIErrorLevel::elError;
    AErrors = AErrors || blocks;
    text += "\r\n  " + (blocks ? error.message : "(" + error.message + ")");
  }
  return text;
}

std::string TplPerObject::GetPostExceptionPrefixString() { return RSErrorsInRecord; }

void TplPerObject::PostData() {
  const std::string& active = FProvider->aiActiveFieldName();
  if (!active.empty() && GetAttrValue(active) == "0") {
    FNotChecked = false;  // nobody corrects what is logically deleted
    return;
  }
  const TAlive alive(this);
  if (!FIgnoreValidation && !ValidateObject() && alive && FEdits != nullptr &&
      FEdits->FErrors.Count() > 0) {
    bool errors = false;
    const std::string text = PostErrors(errors);
    const std::string message = Format(GetPostExceptionPrefixString(), text);
    if (errors) throw EIPostException(message);
    BoMessageDlg(message, TMsgDlgType::mtWarning, {TMsgDlgBtn::mbOK}, TMsgDlgBtn::mbOK,
                 TMsgDlgBtn::mbOK);
  }
  if (!alive) return;
  FNotChecked = false;
  DoPostData();
  if (alive) Notify(TIBaseObjectAction::paPostData);
}

void TplPerObject::PostDataWithCommit() {
  const TAlive alive(this);
  DoBeforePostDataWithCommit();
  if (alive) PostData();
  if (!alive) return;
  data.CommitValues();
  data.DisableOptimizingUpdateQueries(true);
  DoPostDataWithCommit();
}

}  // namespace perlayer
