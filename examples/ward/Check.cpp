#include "Check.h"

#include <iostream>
#include <utility>

#include "Hospital.h"
#include "Lines.h"
#include "TextTable.h"
#include "perlayer/platform/Text.h"
#include "perlayer/provider/ClassMapCheck.h"

namespace ward {

namespace {
constexpr std::size_t kFindingWidth = 84;
}

TMapReport CheckMap(const std::string& path, TSqliteDatabase& database) {
  using TKind = TClassMapFinding::TKind;
  std::size_t faults = 0;
  const std::vector<TClassMapFinding> findings = CheckClassMapFile(path, &database->Session());
  TTextTable table({{"line", TTextTable::TContent::number}, {"kind"}, {"finding"}});
  for (const TClassMapFinding& finding : findings) {
    const bool isFault = finding.kind == TKind::fault;
    if (isFault) ++faults;
    // A fault of the file as a whole has line 0.
    std::vector<std::string> cells = {finding.line == 0 ? "" : IntToStr(finding.line),
                                      isFault ? "fault" : "remark", ""};
    for (std::string& piece : WrapLine(finding.text, kFindingWidth)) {
      cells.back() = std::move(piece);
      table.Add(std::exchange(cells, {"", "", ""}));
    }
  }
  TMapReport report;
  report.isSound = faults == 0;
  report.lines = {path + ": " + Counted(faults, "fault") + ", " +
                  Counted(findings.size() - faults, "remark")};
  if (findings.empty()) return report;
  report.lines.push_back("");
  for (std::string& line : table.Lines()) report.lines.push_back(std::move(line));
  return report;
}

bool Check(const std::string& databaseFile, std::vector<std::string> maps) {
  TSqliteDatabase database = OpenWard(databaseFile);
  if (maps.empty()) maps = {MapFile("ward.classmap")};
  bool isSound = true;
  for (const std::string& path : maps) {
    const TMapReport report = CheckMap(path, database);
    isSound = isSound && report.isSound;
    PrintLines(report.lines);
    std::cout << '\n';
  }
  std::cout << databaseFile << ":\n\n";
  PrintLines(RowCounts(database));
  return isSound;
}

}  // namespace ward
