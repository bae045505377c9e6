#include "Narrator.h"

#include <iostream>

#include "Lines.h"

namespace ward {

namespace {

constexpr std::size_t kWidth = 100;

// Of a line that is too long, the rest stands further in.
void Print(std::string_view text, const std::string& begin) {
  const std::string indent(begin.size(), ' ');
  const std::string hanging = indent + "    ";
  bool first = true;
  for (const std::string& line : Lines(text)) {
    if (line.empty()) std::cout << '\n';
    const std::string* before = first ? &begin : &indent;
    for (const std::string& piece : WrapLine(line, kWidth - hanging.size())) {
      if (!piece.empty()) std::cout << *before << piece << '\n';
      before = begin.empty() ? &begin : &hanging;
    }
    first = false;
  }
}

// What the layer's Slovene messages mean, by words that tell them.
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
};

}  // namespace

void TNarrator::Title(std::string_view title) {
  std::cout << title << '\n' << std::string(Utf8Length(title), '=') << '\n';
}

void TNarrator::Scene(std::string_view title) {
  const std::string line = std::to_string(++FScene) + ". " + std::string(title);
  std::cout << '\n' << line << '\n' << std::string(Utf8Length(line), '-') << '\n';
}

void TNarrator::Say(std::string_view text) { Print(text, ""); }

void TNarrator::Ask(std::string_view line) {
  // Without what the layout of the source has put in.
  const std::string text = StringReplaceAll(line, "( ", "(");
  Print(text.ends_with(';') ? std::string_view(text).substr(0, text.size() - 1) : text, "  > ");
}

void TNarrator::Answer(std::string_view text) { Print(text.empty() ? "(empty)" : text, "      "); }

void TNarrator::Answer(TIObjectExistsInDatabaseResult result) {
  switch (result) {
    case TIObjectExistsInDatabaseResult::edNotExists:
      return Answer("edNotExists");
    case TIObjectExistsInDatabaseResult::edExists:
      return Answer("edExists");
    case TIObjectExistsInDatabaseResult::edDeleted:
      return Answer("edDeleted");
  }
}

// Its lines are laid out already; only what is too long is laid out again.
void TNarrator::Answer(const std::vector<std::string>& table) {
  static constexpr std::string_view kIndent = "      ";
  for (const std::string& line : table) {
    if (DisplayWidth(line) > kTableWidth) {
      Answer(line);
    } else {
      std::cout << (line.empty() ? "" : kIndent) << line << '\n';
    }
  }
}

void TNarrator::Message(std::string_view text) {
  Answer(text);
  for (const TGloss& gloss : kGlosses) {
    if (StringInSet(gloss.slovene, text)) Print(gloss.english, "    = ");
  }
}

}  // namespace ward
