#include "perlayer/corekit/StringLists.h"

#include <gtest/gtest.h>

#include "perlayer/platform/TStringList.h"

namespace perlayer {
namespace {

TEST(StringLists, SplittingAndJoiningAreInverse) {
  const auto list = Make<TStringList>();
  const struct {
    const char *text, *separator;
    std::vector<std::string> pieces;
  } cases[] = {{"", ";", {}},
               {";", ";", {"", ""}},
               {"a,,b,", ",", {"a", "", "b", ""}},
               {"a;b", "", {"a;b"}}};
  for (const auto& [text, separator, pieces] : cases) {
    list->Add("from before");
    String2StringListSep(text, separator, *list);
    std::vector<std::string> found;
    for (int i = 0; i < list->Count(); ++i) found.push_back(list->Strings(i));
    EXPECT_EQ(found, pieces) << text;
    EXPECT_EQ(StringList2StringSep(*list, separator), text);
  }
  String2StringListSep("x;y", ";", *list);
  String2StringListSep(list->Strings(0), ";", *list);  // out of the list itself
  EXPECT_EQ(StringList2StringSep(*list, ";"), "x");
}

}  // namespace
}  // namespace perlayer
