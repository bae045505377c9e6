#include "perlayer/corekit/ISystemParameters.h"

#include <fstream>
#include <iterator>
#include <utility>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/TClock.h"
#include "perlayer/platform/TLayer.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

std::string Place(const std::string& source, int line) {
  return source + ":" + std::to_string(line) + ": ";
}

}  // namespace

std::string TISystemParameters::ParamValue(std::string_view name) const {
  const auto found = FValues.find(FoldCase(name));
  return found == FValues.end() ? std::string() : found->second;
}

void TISystemParameters::SetParamValue(std::string_view name, std::string_view value) {
  if (value.empty()) {
    FValues.erase(FoldCase(name));
  } else {
    FValues.insert_or_assign(FoldCase(name), std::string(value));
  }
}

TDateTime TISystemParameters::GetWorkingDate() const {
  return FWorkingDate ? *FWorkingDate : DatePart(Now());
}

void TISystemParameters::LoadFromText(std::string_view text, const std::string& source) {
  struct TSetting {
    std::string_view value;
    int line;
  };
  std::map<std::string, TSetting> loaded;
  if (text.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
    text.remove_prefix(kByteOrderMark.size());
  }
  for (int number = 1; !text.empty(); ++number) {
    const std::size_t end = text.find('\n');
    const std::string_view line = Trim(text.substr(0, end));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (line.empty() || line.front() == '#') continue;

    const std::size_t equals = line.find('=');
    const std::string_view name = Trim(line.substr(0, equals));
    if (equals == std::string_view::npos || name.empty()) {
      throw EConvertError(Place(source, number) + "expected NAME=VALUE, found \"" +
                          std::string(CutToBytes(line, 60)) + "\"");
    }
    const auto [entry, isNew] =
        loaded.try_emplace(FoldCase(name), TSetting{Trim(line.substr(equals + 1)), number});
    if (!isNew) {
      throw EConvertError(Place(source, number) + "expected each name once, found \"" +
                          std::string(name) + "\" again after line " +
                          std::to_string(entry->second.line));
    }
  }
  std::map<std::string, std::string> values = FValues;
  for (const auto& [name, setting] : loaded) {
    if (setting.value.empty()) {
      values.erase(name);
    } else {
      values.insert_or_assign(name, std::string(setting.value));
    }
  }
  FValues = std::move(values);
}

void TISystemParameters::LoadFromFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw EStreamError("Cannot open the parameter file " + path);
  std::string text;
  try {
    text.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
  } catch (const std::ios_base::failure&) {  // a directory opens but does not read
    throw EStreamError("Cannot read the parameter file " + path);
  }
  LoadFromText(text, path);
}

TISystemParameters& ISystemParameters() {
  return TLayer::Part<TISystemParameters>(TLayerPart::systemParameters);
}

std::string ParamValue(std::string_view name) { return ISystemParameters().ParamValue(name); }

}  // namespace perlayer
