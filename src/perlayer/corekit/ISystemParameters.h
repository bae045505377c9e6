#pragma once
// System parameters: texts by name that steer the process, and the working date. Names are equal in
// any case. Main thread only.

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "perlayer/platform/TDateTime.h"

namespace perlayer {

class TISystemParameters {
 public:
  // Empty when the parameter is not set.
  std::string ParamValue(std::string_view name) const;
  // An empty value unsets the parameter.
  void SetParamValue(std::string_view name, std::string_view value);

  // The date that the user works with: today by the clock until it is set.
  TDateTime GetWorkingDate() const;
  void SetWorkingDate(TDateTime date) { FWorkingDate = date; }
  void ResetWorkingDate() { FWorkingDate.reset(); }

  // Sets parameters from lines "NAME=VALUE", blanks around both dropped. Blank lines and lines that
  // begin with # are passed over. Raises EConvertError "source:line: expected ..., found ..." for
  // any other line and for a name that comes twice; no parameter has changed then.
  void LoadFromText(std::string_view text, const std::string& source);
  // The same from a file. Raises EStreamError when it cannot be read.
  void LoadFromFile(const std::string& path);

 private:
  std::map<std::string, std::string> FValues;  // by folded name
  std::optional<TDateTime> FWorkingDate;
};

// The parameters of the loaded layer.
TISystemParameters& ISystemParameters();
std::string ParamValue(std::string_view name);

}  // namespace perlayer
