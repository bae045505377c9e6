// TStringList from and to streams and files.

#include "perlayer/platform/Files.h"
#include "perlayer/platform/TStream.h"
#include "perlayer/platform/TStringList.h"

namespace perlayer {

namespace {

constexpr std::string_view kMark = "\xEF\xBB\xBF";

std::string_view WithoutMark(std::string_view text) {
  if (text.substr(0, kMark.size()) == kMark) text.remove_prefix(kMark.size());
  return text;
}

}  // namespace

void TStringList::LoadFromStream(TStream& source) { Text(WithoutMark(source.ReadRest())); }

void TStringList::SaveToStream(TStream& target) const { target.WriteText(Text()); }

void TStringList::LoadFromFile(const std::string& path) { Text(WithoutMark(ReadFile(path))); }

void TStringList::SaveToFile(const std::string& path) const { ReplaceFile(path, Text()); }

}  // namespace perlayer
