// Lists of texts that are read come out as texts that read back the same. The first three bytes are
// delimiter, quote and whether the delimiter is strict; nothing is ever refused, so that what
// counts as accepted is a list of several texts.

#include "fuzz/Fuzz.h"
#include "perlayer/corekit/StringLists.h"
#include "perlayer/platform/TStringList.h"
#include "perlayer/platform/Text.h"

namespace perlayer {
namespace {

void RequireEqual(const TStringList& list, const TStringList& again, const char* property,
                  std::string_view text) {
  Require(list.Equals(again), property, text);
}

}  // namespace

bool Takes(std::string_view input) {
  if (input.size() < 3) return false;
  const TOwned<TStringList> list(New<TStringList>()), again(New<TStringList>());
  const char delimiter = input[0], quote = input[1];
  for (TStringList* each : {list.Get(), again.Get()}) {
    each->Delimiter(delimiter);
    each->QuoteChar(quote);
    each->StrictDelimiter((input[2] & 1) != 0);
  }
  input.remove_prefix(3);

  list->Text(input);
  again->Text(list->Text());
  RequireEqual(*list, *again, "lines read back", input);

  list->CommaText(input);
  again->CommaText(list->CommaText());
  RequireEqual(*list, *again, "comma texts read back", input);

  String2StringListSep(input, std::string_view(&delimiter, 1), *list);
  Require(StringList2StringSep(*list, std::string_view(&delimiter, 1)) == input,
          "what is split is joined to the same", input);

  list->DelimitedText(input);
  const std::string text = list->DelimitedText();
  again->DelimitedText(text);
  if (static_cast<unsigned char>(quote) > ' ' && quote != delimiter) {
    RequireEqual(*list, *again, "delimited texts read back", text);
  }
  return list->Count() > 1;
}

}  // namespace perlayer
