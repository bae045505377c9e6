#include "Gloss.h"

#include "Lines.h"
#include "perlayer/platform/Text.h"

namespace ward {

using namespace perlayer;

namespace {

// `slovene` is what stands in the line, with * for what differs; the English has the same in the
// same order.
struct TGloss {
  std::string_view slovene;
  std::string_view english;
};
constexpr TGloss kGlosses[] = {
    {"je neaktiven!", "The object that was used is inactive!"},
    {"Dobil več kot en objekt",
     "More than one object of that class was found! (Pogoj: the condition.)"},
    {"Ne najdem zapisa o objektu v dodatni tabeli",
     "The additional table has no row of the object: saving went wrong, or the row was deleted."},
    {"Napake v zapisu", "Errors in the record:"},
    {"Polje * ne sme biti prazno.", "Field * must not be empty."},
    {"Šifra * šifranta * v polju * ne obstaja.", "There is no code * in code list *, of field *."},
    {"Vnos izbrane vrednosti \"*\" v polju \"*\" ni dovoljen!",
     "The value \"*\" may not be entered in field \"*\"."},
    {"ni dovoljeno spreminjati vrednosti - atribut '*' na '*'!",
     "The values of this object must not be changed: attribute * to \"*\"."},
    {"\"Objekt pripravljen samo za branje!\"", "It is there to be read only."},
    {"ni dovoljeno spreminjati vrednosti *! Preveri stanje in pravice!",
     "The value of * must not be changed. Look at its state, and at your rights."},
    {"Brisanje ni dovoljeno!", "Deleting is not allowed."},
    {"nima pravice kreirati objekta!", "The user has no right to make an object of this class."},
    {"Shranjevanje je preklicano.", "Saving was called off."},
    {": vpiše se smrt, *. Shranim?", "A death is recorded, *. Shall it be saved?"},
    {"Datum rojstva ne sme biti v prihodnosti.", "A birth must not lie in the future."},
    {"Datum smrti ne sme biti pred datumom rojstva.", "Death must not come before birth."},
    {"Bolnik bi bil star * let: preveri datum rojstva.",
     "The patient would be * years old: look at the date of birth."},
    {"Vrednost * v polju * ni število.", "The value * of field * is no number."},
    {"Vrednost * v polju * ni datum.", "The value * of field * is no date."},
    {"Napačen filter: *! (podrobnosti: *)", "Wrong filter: * (details: *)"},
    {"mesto *: pričakovano *, najdeno *", "character *: expected *, found *"},
    {"mesto *: besedilo nima zaključnega narekovaja", "character *: the text has no closing quote"},
    {"konec filtra", "the end of the filter"},
    {"Vrednost v polju * je predolga: * znakov, dovoljenih je *.",
     "The value of field * is too long: * characters where * may stand."},
};

// What stands for each * in the line; false when the line is another. The last star takes all that
// it can, as a filter's fault may itself speak of parentheses.
bool Matches(std::string_view line, std::string_view pattern, std::vector<std::string>& stars) {
  const std::vector<std::string> pieces = SplitText(pattern, "*");
  std::size_t at = 0;
  for (std::size_t i = 0; i < pieces.size(); ++i) {
    const bool last = i > 0 && i + 1 == pieces.size();
    const std::size_t found = last ? line.rfind(pieces[i]) : line.find(pieces[i], at);
    if (found == std::string_view::npos || found < at) return false;
    if (i > 0) stars.emplace_back(line.substr(at, found - at));
    at = found + pieces[i].size();
  }
  return true;
}

}  // namespace

std::string EnglishOf(std::string_view line) {
  for (const TGloss& gloss : kGlosses) {
    std::vector<std::string> stars;
    if (!Matches(Trim(line), gloss.slovene, stars)) continue;
    const std::vector<std::string> pieces = SplitText(gloss.english, "*");
    std::string english = pieces.front();
    for (std::size_t i = 1; i < pieces.size(); ++i) {
      const std::string& star = stars.at(i - 1);
      const std::string said = EnglishOf(star);
      english += (said.empty() ? star : said) + pieces[i];
    }
    return english;
  }
  return "";
}

std::vector<std::string> WithEnglish(std::string_view message) {
  std::vector<std::string> lines;
  for (const std::string& line : Lines(message)) {
    if (Empty(line)) continue;
    lines.push_back(line);
    const std::string english = EnglishOf(line);
    const std::size_t indent = line.size() - TrimLeft(line).size();
    if (!english.empty()) lines.push_back(std::string(indent, ' ') + "  = " + english);
  }
  return lines;
}

}  // namespace ward
