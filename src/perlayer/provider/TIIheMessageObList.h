#pragma once
// TIIheMessageObList: the messages that a TIOnProcessIheMessage handler gives back. Owns them. Main
// thread only.

#include <string>

#include "perlayer/platform/TList.h"

namespace perlayer {

class TIIheMessageObj : public TObject {
  TCLASS(TIIheMessageObj, TObject)
 public:
  std::string aiMessage;
  std::string aiURI;
};

class TIIheMessageObList : public TObject {
  TCLASS(TIIheMessageObList, TObject)
 public:
  void Create() { FObjList = New<TObjectList>(); }
  void Destroy() override {
    FreeAndNil(FObjList);
    TObject::Destroy();
  }

  void AddMessage(const std::string& AMessage, const std::string& AURI) {
    TOwned<TIIheMessageObj> message = Make<TIIheMessageObj>();
    message->aiMessage = AMessage;
    message->aiURI = AURI;
    FObjList->Add(message.Get());
    message.Release();
  }
  int Count() const { return FObjList->Count(); }
  TIIheMessageObj* Item(int i) const {  // nullptr outside
    return i < 0 || i >= Count() ? nullptr : As<TIIheMessageObj>(FObjList->Items(i));
  }

 private:
  TObjectList* FObjList = nullptr;  // owned
};

}  // namespace perlayer
