#include "perlayer/provider/ClassMapCheck.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>

#include "perlayer/drivers/sqlite/TSqliteSession.h"
#include "perlayer/platform/Text.h"
#include "support/RunProgram.h"
#include "support/TempDir.h"

namespace perlayer {
namespace {

std::string FileText(const std::string& path) {
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

// The example of docs/classmaps.md.
std::string Example() {
  const std::string page = FileText(PERLAYER_TESTS_DIR "/../docs/classmaps.md");
  const std::string begin = "```classmap\n";
  const std::size_t start = page.find(begin) + begin.size();
  return page.substr(start, page.find("```", start) - start);
}

constexpr const char* kTables[] = {
    "create table OMRA.PATIENT (ID NUMBER primary key, UUID VARCHAR2(36), LAST VARCHAR2(60), FIRST "
    "VARCHAR2(60), BIRTHDATE DATE, SEX VARCHAR2(1), NOTES CLOB, ACTIVE VARCHAR2(1))",
    "create table OMRA.PATIENT_CONTACT (ID NUMBER primary key, PHONE VARCHAR2(20))"};

void MakeTables(TSqliteSession& session) {
  for (const char* table : kTables) {
    TDriverStatement* statement = session.Take(TStatementText::Of(table));
    statement->Step();
    session.GiveBack(statement);
  }
  session.Commit();
}

std::string Kind(const TClassMapFinding& finding) {
  return finding.kind == TClassMapFinding::TKind::fault ? ": fault: " : ": remark: ";
}

struct TCase {
  std::string title;
  std::vector<std::pair<std::string, std::string>> changes;
  std::vector<std::string> findings;
};

std::vector<TCase> ReadCases() {
  std::vector<TCase> cases;
  for (const std::string& line :
       SplitText(FileText(PERLAYER_TESTS_DIR "/provider/checkmaps.cases"), "\n")) {
    const std::string text =
        StringReplaceAll(line.substr(std::min<std::size_t>(2, line.size())), "\\n", "\n");
    if (line.starts_with("== ")) {
      cases.push_back({line.substr(3), {}, {}});
    } else if (line.starts_with("- ")) {
      cases.back().changes.emplace_back(text, "");
    } else if (line.starts_with("+ ")) {
      cases.back().changes.back().second = text;
    } else if (line.starts_with("! ")) {
      cases.back().findings.push_back(text);
    }
  }
  return cases;
}

// "|LINE|: fault: text" against a finding: its line holds LINE, its text begins so.
bool Fits(const std::string& expected, const TClassMapFinding& finding,
          const std::vector<std::string>& lines) {
  const std::size_t bar = expected.find('|', 1);
  const std::string line =
      finding.line > 0 ? lines.at(static_cast<std::size_t>(finding.line) - 1) : "";
  const std::string part = expected.substr(1, bar - 1);
  return (part.empty() ? Empty(line) : line.find(part) != line.npos) &&
         (Kind(finding) + finding.text).starts_with(expected.substr(bar + 1));
}

TEST(ClassMapCheck, EachBrokenRuleIsToldWhereItIsBroken) {
  const TTempDir dir;
  TSqliteSession session(dir.File("cases.db"));
  MakeTables(session);
  const std::string example = Example();
  const auto check = [&](const std::string& text, bool database) {
    return CheckClassMapFile(dir.Write("ward.classmap", text), database ? &session : nullptr);
  };
  const auto known = check(example, true);
  for (const auto& finding : known) {
    EXPECT_EQ(finding.kind, TClassMapFinding::TKind::remark) << finding.line << finding.text;
  }
  const auto isKnown = [&](const TClassMapFinding& finding) {
    return std::any_of(known.begin(), known.end(),
                       [&](const auto& k) { return k.text == finding.text; });
  };
  const auto cases = ReadCases();
  ASSERT_GT(cases.size(), 50u);
  for (const TCase& c : cases) {
    SCOPED_TRACE(c.title);
    std::string text = example;
    for (const auto& [from, to] : c.changes) {
      const std::size_t at = text.find(from);
      ASSERT_NE(at, text.npos) << from;
      EXPECT_EQ(text.find(from, at + 1), text.npos) << "twice there: " << from;
      text.replace(at, from.size(), to);
    }
    const auto lines = SplitText(text, "\n");
    auto findings = check(text, c.title.ends_with("[db]"));
    std::erase_if(findings, isKnown);
    std::string told;
    for (const auto& finding : findings) {
      told += "! |" +
              (finding.line > 0 ? lines.at(static_cast<std::size_t>(finding.line) - 1) : "") + "|" +
              Kind(finding) + finding.text + "\n";
    }
    EXPECT_EQ(findings.size(), c.findings.size()) << told;
    for (std::size_t i = 0; i < std::min(findings.size(), c.findings.size()); ++i) {
      EXPECT_TRUE(Fits(c.findings[i], findings[i], lines)) << c.findings[i] << "\n" << told;
    }
  }
}

// Whatever stands in a file, the checker ends with findings.
TEST(ClassMapCheck, DamageIsNoDanger) {
  const TTempDir dir;
  TSqliteSession session(dir.File("damage.db"));
  MakeTables(session);
  const std::string example = Example();
  std::size_t faults = 0;
  for (std::size_t i = 0; i < example.size(); i += 7) {
    std::string text = example;
    text.erase(i, 1 + i % 40);
    if (i % 2 == 0) text.insert(i, i % 4 == 0 ? "(" : "\xE8 \"");
    const auto findings = CheckClassMapFile(dir.Write("ward.classmap", text), &session);
    const auto lines = static_cast<int>(SplitText(text, "\n").size());
    const bool readable = i % 2 != 0 || i % 4 == 0;
    const bool told = std::any_of(findings.begin(), findings.end(), [](const auto& finding) {
      return finding.text.starts_with("expected UTF-8 text, found byte 0xE8");
    });
    EXPECT_EQ(told, !readable) << text;
    for (const auto& finding : findings) {
      if (finding.kind == TClassMapFinding::TKind::fault) ++faults;
      EXPECT_LE(finding.line, lines);
    }
  }
  EXPECT_GT(faults, example.size() / 10);
}

TEST(ClassMapCheck, TheProgramPrintsFindingsAndAnswersAStatus) {
  const TTempDir dir;
  const std::string good = dir.Write("good.classmap", Example());
  const std::string bad = dir.Write("bad.classmap", "query quA\n sql\n  select 1\n end\n");
  const auto run = [](std::vector<std::string> words) {
    words.insert(words.begin(), PERLAYER_CHECK_MAPS);
    return RunProgram(words);
  };
  {
    TSqliteSession session(dir.File("w.db"));
    MakeTables(session);
  }
  const std::string view = good + ":4: remark: quPatient cannot carry a view: ";
  const auto sound = run({"--db", dir.File("w.db"), good});
  EXPECT_EQ(sound.status, 0) << sound.output;
  EXPECT_TRUE(sound.output.starts_with(view)) << sound.output;
  EXPECT_TRUE(sound.output.ends_with("0 faults and 2 remarks in 1 class map\n")) << sound.output;
  const auto both = run({good, bad, dir.File("none.classmap")});
  EXPECT_EQ(both.status, 1);
  for (const std::string& line :
       {view, bad + ":1: fault: quA has no field that is read",
        dir.File("none.classmap") +
            ": fault: expected a file that can be read, found No such file"}) {
    EXPECT_NE(both.output.find(line), std::string::npos) << both.output;
  }
  EXPECT_TRUE(both.output.ends_with(" in 3 class maps\n")) << both.output;
  EXPECT_EQ(run({"--help"}).status, 0);
  for (const auto& words : std::vector<std::vector<std::string>>{
           {}, {"--nonesuch"}, {"--db"}, {"--db", dir.File("none.db"), good}}) {
    const auto refused = run(words);
    EXPECT_EQ(refused.status, 2);
    EXPECT_TRUE(refused.output.starts_with("perlayer-check-maps: ")) << refused.output;
  }
  EXPECT_FALSE(std::filesystem::exists(dir.File("none.db")));
  const auto ward = run({PERLAYER_TESTS_DIR "/../examples/ward/maps/ward.classmap"});
  EXPECT_EQ(ward.status, 0) << ward.output;
}

}  // namespace
}  // namespace perlayer
