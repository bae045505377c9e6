#pragma once
// TApplication: the process as an object. It stands as retainer for whoever holds an object through
// an interface reference. Main thread only.

#include <string>
#include <string_view>

#include "perlayer/platform/TObject.h"

namespace perlayer {

class TApplication : public TObject {
  TCLASS(TApplication, TObject)
 public:
  // The form that stands for the user interface; not owned. nullptr without one, and again once the
  // form has been destroyed.
  TObject* MainForm() const { return FMainForm.Get(); }
  void MainForm(TObject* form) { FMainForm = form; }

  const std::string& Title() const { return FTitle; }
  void Title(std::string_view title) { FTitle = title; }

 private:
  TObjectHandle FMainForm;
  std::string FTitle;
};

// The one application object of the loaded layer, which owns it.
TApplication* Application();

}  // namespace perlayer
