// Four texts between bytes 0: a section, a key and a value to write, and the file. Whatever the
// file holds stays, byte for byte, but for what is written and deleted.

#include <algorithm>

#include "fuzz/Fuzz.h"
#include "perlayer/platform/Exception.h"
#include "perlayer/platform/TIniFile.h"
#include "perlayer/platform/Text.h"

namespace perlayer {
namespace {

constexpr const char* kFile = "./fuzz.ini";

// True when `changed` is `text` with at most `replaced` bytes in a row taken out and others put in
// their place.
bool ChangedInOnePlace(std::string_view text, std::string_view changed, std::size_t replaced) {
  const auto front = std::mismatch(text.begin(), text.end(), changed.begin(), changed.end());
  const auto back = std::mismatch(text.rbegin(), text.rend(), changed.rbegin(), changed.rend());
  const auto kept = (front.first - text.begin()) + (back.first - text.rbegin());
  return static_cast<std::size_t>(kept) + replaced >= text.size();
}

// All values that both know are alike, but for the one of that name.
void RequireOthersAlike(const TIniFile& ini, const TIniFile& again, std::string_view section,
                        std::string_view key) {
  for (const std::string& name : ini.ReadSections()) {
    Require(again.SectionExists(name), "other sections stay", name);
    for (const std::string& entry : ini.ReadSection(name)) {
      if (SameText(name, section) && SameText(entry, key)) continue;
      Require(again.ValueExists(name, entry), "other keys stay", entry);
      Require(again.ReadString(name, entry, "") == ini.ReadString(name, entry, ""),
              "other values stay", entry);
    }
  }
}

}  // namespace

bool Takes(std::string_view input) {
  const auto [section, key, value, text] = Pieces<4>(input);
  const TIniFile before(kFile, text);
  Require(before.Contents() == text, "what was read is written", before.Contents());

  TIniFile ini = before;
  const std::string old = ini.ReadString(section, key, "");
  try {
    ini.WriteString(section, key, value);
  } catch (const EConvertError&) {
    Require(ini.Contents() == text, "a refusal changes nothing", ini.Contents());
    return false;
  }
  const std::string written = ini.Contents();
  Require(ChangedInOnePlace(text, written, old.size()), "one place is written", written);
  TIniFile again(kFile, written);
  Require(again.ReadString(section, key, "?") == value, "what was written is read", written);
  RequireOthersAlike(before, again, section, key);
  again.WriteString(section, key, value);
  Require(!again.Modified(), "writing the same is no change", written);

  ini.DeleteKey(section, key);
  const TIniFile without(kFile, ini.Contents());
  Require(!without.ValueExists(section, key), "a deleted key is gone", ini.Contents());
  RequireOthersAlike(before, without, section, key);
  ini.EraseSection(section);
  Require(!TIniFile(kFile, ini.Contents()).SectionExists(section), "an erased section is gone",
          ini.Contents());
  return true;
}

}  // namespace perlayer
