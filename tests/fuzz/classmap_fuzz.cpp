// A class map is refused with its place, or can be written and reads back equal.

#include "fuzz/Fuzz.h"
#include "perlayer/provider/ClassMapFile.h"

namespace perlayer {

bool Takes(std::string_view input) {
  constexpr std::string_view kFile = "fuzz.classmap";
  TClassMapDefinition map;
  try {
    map = ParseClassMap(input, kFile);
  } catch (const EClassMapError& e) {
    Require(e.Message().starts_with(kFile), "a refusal names the file", e.Message());
    return false;
  }
  const std::string text = WriteClassMap(map);
  const TClassMapDefinition again = ParseClassMap(text, kFile);
  Require(again == map, "what is written reads back equal", text);
  Require(WriteClassMap(again) == text, "an equal map is written alike", text);
  return true;
}

}  // namespace perlayer
