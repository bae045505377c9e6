// TplPerObject: validation and the errors of attributes.

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

bool TplPerObject::ValidateObject() {
  const TAlive alive(this);
  bool valid = true;
  for (int i = 0; alive && i < AttrCount(); ++i) {
    const std::string name = AttrName(i);
    if (!ValidateAttribute(name, Variant(GetAttrValue(name)))) valid = false;
  }
  return alive && valid && DoValidateObject();
}

bool TplPerObject::ValidateAttribute(const std::string& AName, const Variant& AValue) {
  constexpr TIErrorLevel kLevel = TIErrorLevel::elError;
  const int index = GetMetaData()->GetAttrIndex(AName);
  const TIValInfoRec info =  // a copy: callers out may come back here
      index >= 0 ? GetMetaData()->ValInfoOf(index)
                 : ValidString2ValidInfo(GetMetaData()->GetCalcAttrProperties(AName).sValidInfo);
  const bool isEmpty = AValue.IsEmpty();
  if (info.required && isEmpty) {
    SetAttrError(AName, Format("Polje %s ne sme biti prazno.", info.displayLabel), kLevel);
    return false;
  }
  const TAlive alive(this);
  bool valid = true;
  const auto noSuchCode = [&](const std::string& code) {
    SetAttrError(AName,
                 Format("Šifra %s šifranta %s v polju %s ne obstaja.", code, info.codeList,
                        info.displayLabel),
                 kLevel);
    valid = false;
  };
  if (info.kind == "S" && !isEmpty) {
    const std::string code = AValue.AsText();
    if (!Sifranti().Exists(info.codeList, code, false)) noSuchCode(code);
  } else if (info.kind == "MS" && !isEmpty) {
    const std::string code = AValue.AsText();
    // A code that has left the list is tolerated for as long as it stays what it was.
    if (!SkupSifranti().Exists(info.codeList, code, true, "", false) &&
        code != GetAttrOldValue(AName)) {
      noSuchCode(code);
    }
    if (valid && UpperCase(GetValueFromString(SkupSifranti().Params(info.codeList, code), ";",
                                              "NI_VNOSA")) == "TRUE") {
      SetAttrError(AName,
                   Format("Vnos izbrane vrednosti \"%s\" v polju \"%s\" ni dovoljen!", code,
                          info.displayLabel),
                   kLevel);
      valid = false;
    }
  }
  if (!alive) return valid;
  TplProvider::GetCallBackObject()->DoValidateAttribute(this, valid, AName, AValue);
  if (valid && alive) SetAttrNoError(AName);
  return valid;
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
  const std::string active = FProvider->aiActiveFieldName();
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
  if (alive) CallNotifyAction(this, TIBaseObjectAction::paPostData, nullptr);
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
