#include "perlayer/corekit/TConsoleDialogs.h"

#include <array>
#include <cstddef>
#include <istream>
#include <ostream>
#include <string_view>

#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {

// In the order of TMsgDlgBtn and TMsgDlgType.
constexpr std::array<std::string_view, 12> kCaptions = {
    "Da",     "Ne",  "V redu",    "Prekliči",  "Prekini", "Ponovi",
    "Prezri", "Vse", "Ne za vse", "Da za vse", "Pomoč",   "Zapri"};
constexpr std::array<std::string_view, 5> kTitles = {"Opozorilo", "Napaka", "Obvestilo",
                                                     "Potrditev", ""};

// The position that the answer names, by number from 1 or by caption; -1 when it names none.
int PositionOf(std::string_view answer, const std::vector<std::string>& captions) {
  for (std::size_t i = 0; i < captions.size(); ++i) {
    if (answer == std::to_string(i + 1) || SameText(answer, captions[i]))
      return static_cast<int>(i);
  }
  return -1;
}

}  // namespace

int TConsoleDialogs::Show(const std::string& text, TMsgDlgType type, TMsgDlgButtons buttons,
                          TMsgDlgBtn defaultButton) {
  std::vector<TMsgDlgBtn> shown;
  std::vector<std::string> captions;
  int defaultPosition = 0;
  for (std::size_t i = 0; i < kCaptions.size(); ++i) {
    const auto button = static_cast<TMsgDlgBtn>(i);
    // The console has no help to show.
    if (!buttons.has(button) || button == TMsgDlgBtn::mbHelp) continue;
    if (button == defaultButton) defaultPosition = static_cast<int>(shown.size());
    shown.push_back(button);
    captions.emplace_back(kCaptions[i]);
  }
  int cancelPosition = defaultPosition;
  for (const TMsgDlgBtn leaving :
       {TMsgDlgBtn::mbAbort, TMsgDlgBtn::mbClose, TMsgDlgBtn::mbNo, TMsgDlgBtn::mbCancel}) {
    for (std::size_t i = 0; i < shown.size(); ++i) {
      if (shown[i] == leaving) cancelPosition = static_cast<int>(i);
    }
  }
  const int position = ShowCustom(text, type, captions, defaultPosition, cancelPosition);
  return ModalResultOf(shown.at(static_cast<std::size_t>(position)));
}

int TConsoleDialogs::ShowCustom(const std::string& text, TMsgDlgType type,
                                const std::vector<std::string>& captions, int defaultPosition,
                                int cancelPosition) {
  const std::string_view title = kTitles.at(static_cast<std::size_t>(type));
  if (!title.empty()) FOut << title << ": ";
  FOut << text << '\n';
  std::string answer;
  for (;;) {
    for (std::size_t i = 0; i < captions.size(); ++i) {
      FOut << (i == 0 ? "" : "  ") << i + 1 << ") " << captions[i];
    }
    FOut << " [" << defaultPosition + 1 << "]: " << std::flush;
    if (!std::getline(FIn, answer)) {
      FOut << '\n';
      return cancelPosition;
    }
    const std::string_view trimmed = Trim(answer);
    if (trimmed.empty()) return defaultPosition;
    if (const int position = PositionOf(trimmed, captions); position >= 0) return position;
    FOut << "Neveljaven odgovor: " << trimmed << '\n';
  }
}

}  // namespace perlayer
