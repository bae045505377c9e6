#include "perlayer/provider/ClassMapFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

#include "perlayer/platform/Text.h"
#include "perlayer/provider/TClassMapBuilder.h"
#include "support/Raised.h"
#include "support/TempDir.h"

namespace perlayer {
namespace {

std::string ParseFault(std::string_view text) {
  return Raised([&] { ParseClassMap(text, "w.classmap"); });
}

// The block marked with `kind` in docs/classmaps.md.
std::string Documented(const std::string& kind) {
  std::ifstream file(PERLAYER_TESTS_DIR "/../docs/classmaps.md");
  std::stringstream text;
  text << file.rdbuf();
  const std::string page = text.str(), begin = "```" + kind + "\n";
  const auto start = page.find(begin);
  if (start == page.npos) return "";
  return page.substr(start + begin.size(), page.find("```", start + 3) - start - begin.size());
}

TEST(ClassMapFile, DocumentedExampleIsRead) {
  const auto read = ParseClassMap(Documented("classmap"), "/maps/ward.classmap");
  EXPECT_EQ(read.name, "ward");
  EXPECT_EQ(read.source, "/maps/ward.classmap");
  const auto& query = read.queries.at(0);
  EXPECT_EQ(query.line, 4);
  EXPECT_EQ(query.fields.at(0).line, 17);
  ASSERT_EQ(query.sql.size(), 6u);
  EXPECT_EQ(query.sql[2], "");
  EXPECT_EQ(query.sql[5], "P.ID = :ID");
  EXPECT_EQ(query.fields.at(8).label, "Telefon (\"GSM\")");
}

// Random definitions that CheckClassMap accepts, leaning towards what could trip the format.
class TGenerator {
 public:
  explicit TGenerator(unsigned seed) : FRandom(seed) {}

  std::size_t Below(std::size_t limit) {
    return std::uniform_int_distribution<std::size_t>(0, limit - 1)(FRandom);
  }

  std::string Piece(bool tabs) {
    static const char* const kPieces[] = {"end",   "#",  "\"",  "\"\"", "query quX", "  ", "--",
                                          "č",     "漢", "𝄞",   "'",    "/*",        "*/", ";",
                                          "where", "\\", ":ID", "sql",  "fields",    "$",  "%"};
    if (tabs && Below(9) == 0) return "\t";
    return Below(3) != 0 ? kPieces[Below(std::size(kPieces))]
                         : std::string(1, static_cast<char>(' ' + Below(95)));
  }

  std::string Text(std::size_t pieces, bool tabs) {
    std::string text;
    for (std::size_t count = Below(pieces + 1); count > 0; --count) text += Piece(tabs);
    return text;
  }

  std::vector<std::string> Statement(bool needed) {
    std::vector<std::string> lines;
    if (!needed && Below(3) == 0) return lines;
    for (std::size_t count = Below(3); count > 0; --count) {  // above the first line of SQL
      const std::string blanks(Below(4), Below(2) == 0 ? ' ' : '\t');
      lines.push_back(blanks + (Below(2) == 0 ? "" : "--" + Text(4, true)));
    }
    lines.push_back("s" + Text(4, true));
    for (std::size_t count = Below(6); count > 0; --count) lines.push_back(Text(6, true));
    return lines;
  }

  TClassMapDefinition Definition() {
    TClassMapDefinition definition;
    definition.name = "w";
    const std::size_t queries = Below(4);
    for (std::size_t i = 0; i < queries; ++i) {
      auto& query = definition.queries.emplace_back();
      query.name = "quQ" + std::to_string(i);
      query.caption = Text(5, false);
      query.sql = Statement(true);
      for (std::size_t count = Below(6); count > 0; --count) {
        auto& field = query.fields.emplace_back();
        field.name = (Below(2) == 0 ? "END" : "Š#$_") + std::to_string(count);
        field.type = static_cast<TClassMapFieldType>(Below(6));
        if (field.type == TClassMapFieldType::string)
          field.size = 1 + static_cast<int>(Below(32767));
        field.label = Text(5, false);
        field.required = Below(2) == 0;
        if (Below(3) == 0) field.codeList = Below(2) == 0 ? "required" : "1-Č.#";
        field.calculated = Below(4) == 0;
      }
    }
    for (std::size_t i = 0, count = Below(4) + (queries == 0 ? 1 : 0); i < count; ++i) {
      auto& update = definition.updateSqls.emplace_back();
      update.name = "usQ" + std::to_string(Below(4)) + "_" + std::to_string(i);
      update.insertSql = Statement(false);
      update.modifySql = Statement(false);
      update.deleteSql = Statement(update.insertSql.empty() && update.modifySql.empty());
    }
    return definition;
  }

 private:
  std::mt19937 FRandom;
};

TEST(ClassMapFile, AnyDefinitionReadsBackAsWritten) {
  for (unsigned seed = 1; seed <= 3000 && !testing::Test::HasFailure(); ++seed) {
    SCOPED_TRACE(seed);
    const auto definition = TGenerator(seed).Definition();
    const std::string text = WriteClassMap(definition);
    SCOPED_TRACE(text);
    EXPECT_TRUE(ParseClassMap(text, "w.classmap") == definition);
    const std::string dos = "\xEF\xBB\xBF" + StringReplaceAll(text, "\n", "\r\n");
    EXPECT_TRUE(ParseClassMap(dos, "w.classmap") == definition);
  }
}

// Damaged files, and text with much of the format in it, end in a sound definition or in a message
// that names a place.
TEST(ClassMapFile, DamageEndsInADefinitionOrAMessage) {
  int sound = 0, refused = 0;
  for (unsigned seed = 1; seed <= 6000 && !testing::Test::HasFailure(); ++seed) {
    SCOPED_TRACE(seed);
    TGenerator random(seed);
    std::string text = WriteClassMap(random.Definition());
    for (std::size_t count = 1 + random.Below(3); count > 0 && !text.empty(); --count) {
      const std::size_t place = random.Below(text.size());
      const std::size_t line = text.rfind('\n', place) + 1;
      switch (random.Below(5)) {
        case 0:
          text.erase(place, 1 + random.Below(9));
          break;
        case 1:
          text.insert(place, random.Piece(true));
          break;
        case 2:
          text[place] = static_cast<char>(random.Below(256));
          break;
        case 3:
          text.erase(line, text.find('\n', place) - line + 1);
          break;
        default:
          text.insert(line, random.Text(4, true) + "\n");
      }
    }
    try {
      const auto definition = ParseClassMap(text, "w.classmap");
      ++sound;
      EXPECT_TRUE(ParseClassMap(WriteClassMap(definition), "w.classmap") == definition) << text;
    } catch (const EClassMapError& e) {
      ++refused;
      EXPECT_TRUE(e.Message().starts_with("w.classmap")) << e.Message();
      EXPECT_NE(e.Message().find(": expected "), std::string::npos) << e.Message();
    }
  }
  EXPECT_GT(sound, 500);
  EXPECT_GT(refused, 500);
}

TEST(ClassMapFile, ErrorsSayWhereAndWhatWasExpected) {
  const std::string sql = " sql\n  select 1\n end\n";
  const auto field = [&](const std::string& row) {
    return "query quA\n" + sql + " fields\n  ID float\n  " + row + "\n end\n";
  };
  const struct {
    std::string text, message;
  } cases[] = {
      {"", ": expected a query or an update, found none"},
      {"query", ":1: expected a query name, found the end of the line"},
      {"query \"quA\"", ":1: expected a query name, found the text \"quA\""},
      {"query quA", ":1: expected SQL in query quA, found none"},
      {"query quA \"x\n", ":1: expected a closing quote, found the end of the line"},
      {"query quA \"x\"y", ":1: expected a blank behind the closing quote, found \"y\""},
      {"query quA \"a\tb\"\n" + sql, ":1: expected plain text as caption of quA, found a TAB"},
      {"query pat\n" + sql,
       ":1: expected a query name like quPatient (qu, then letters, digits and _), found \"pat\""},
      {"query quA\n" + sql + "query quB\n" + sql + "query qua\n" + sql,
       ":9: expected a name that is new in the map, found \"qua\", which stands in line 1 already"},
      {"query quA\n" + sql + sql, ":5: expected one \"sql\", found a second one"},
      {"query quA\n sql\n  x\n", ":4: expected the end of \"sql\" of line 2, found the end of"},
      {"query quA\n sql\n   select 1\n  from\n end",
       ":4: expected SQL indented at least as in line 3, or \"end\" right below \"sql\" of line "
       "2,"},
      {"update usA\n", ":1: expected an insert, modify or delete in update usA, found none"},
      {"update usA\n insert\n end", ":3: expected SQL in \"insert\" of line 2, found none"},
      {"update usA\n sql\n", ":2: expected insert, modify, delete, query or update, found \"sql\""},
      {"query quA\n" + sql + " fields\n end",
       ":6: expected a field in \"fields\" of line 5, found"},
      {field("A"), ":7: expected a field type (string, memo, float, integer, datetime or blob),"},
      {field("1A float"), ":7: expected a field name of letters, digits, _, $ and #, found \"1A\""},
      {field("id float"), "new in the fields of quA, found \"id\", which stands in line 6 already"},
      {field("A string"),
       ":7: expected a size from 1 to 32767 for string field A of quA, found none"},
      {field("A string 0"), ":7: expected a size from 1 to 32767, found \"0\""},
      {field("A float 8"), ":7: expected no size for field A of quA of type float, found 8"},
      {field("A float needed"), "expected \"LABEL\", required, codelist or calculated, found"},
      {field("A float required required"),
       ":7: expected each option once, found \"required\" again"},
      {field("A float codelist"),
       ":7: expected the code of a code list, found the end of the line"},
      {"query quA\n# p\xE8 \n",
       ":2: expected UTF-8 text, found byte 0xE8 in column 4, which is no"},
      {"query quA\rsql", ":1: expected UTF-8 text, found control character 0x0D in column 10"},
  };
  for (const auto& [text, message] : cases) {
    const std::string fault = ParseFault(text);
    EXPECT_TRUE(fault.starts_with("w.classmap:")) << text << "\n" << fault;
    EXPECT_NE(fault.find(message), std::string::npos) << text << "\n" << fault << "\n" << message;
  }
}

TEST(ClassMapFile, KeywordsCommentsAndIndentationAreFree) {
  const auto map = ParseClassMap(
      "QUERY quA # first\n\n# note\n\tFields\n\t  # table\n\t\tA\tString 5 \"\" # size\n\tEND\n"
      "Sql\n\n-- x\n  a\n\t -- b\n -- c\n      d\n   \nend # ok",
      "a/b/w.classmap");
  EXPECT_EQ(map.name, "w");
  const std::vector<std::string> lines = {"", "-- x", "a", "\t -- b", "-- c", "    d", " "};
  EXPECT_EQ(map.queries.at(0).sql, lines);
  EXPECT_EQ(map.queries.at(0).fields.at(0).size, 5);
}

TEST(ClassMapFile, FilesAreReadOrRefusedWithTheirPath) {
  TTempDir dir;
  const std::string text = WriteClassMap(TGenerator(7).Definition());
  EXPECT_EQ(ReadClassMapFile(dir.Write("w.classmap", text)).source, dir.File("w.classmap"));

  std::filesystem::create_directory(dir.File("directory.classmap"));
  std::filesystem::create_symlink("loop.classmap", dir.File("loop.classmap"));
  // Opens, but reading at address 0 fails.
  std::filesystem::create_symlink("/proc/self/mem", dir.File("broken.classmap"));
  ASSERT_EQ(mkfifo(dir.File("pipe.classmap").c_str(), 0600), 0);
  dir.Write("my ward.classmap", text);
  const std::pair<const char*, const char*> cases[] = {
      {"none", "file that can be read, found No such file or directory"},
      {"directory", "file that can be read, found a directory"},
      {"loop", "file that can be read, found Too many levels of symbolic links"},
      {"broken", "file that can be read, found Input/output error"},
      {"pipe", "file that can be read, found a device or pipe"},
      {"", "file called NAME.classmap, found \".classmap\""},
      {"my ward", "map name of letters, digits and _, found \"my ward\""},
  };
  for (const auto& [name, message] : cases) {
    const std::string path = dir.File(std::string(name) + ".classmap");
    EXPECT_EQ(Raised([&] { ReadClassMapFile(path); }), path + ": expected a " + message);
  }
}

TEST(TClassMapBuilder, RefusesWhatAFileCouldNotSay) {
  using B = TClassMapBuilder;
  const auto query = [] { return B("m").Query("quA").Sql("a"); };
  const struct {
    std::string fault, message;
  } cases[] = {
      {Raised([] { B("m").Sql("a"); }), "expected Query before Sql, found none"},
      {Raised([&] { query().Required(); }), "expected a field before Required, found none"},
      {Raised([&] { query().Update("usA").Float("X"); }), "expected Query before X, found none"},
      {Raised([&] { query().Query("qua").Sql("a").Build(); }), "found \"qua\" once more"},
      {Raised([&] { query().Float("A", "x\ty").Build(); }), "label of field A of quA, found a TAB"},
      {Raised([] { B("m").Query("quA").Sql("a\rb").Build(); }), "character 0x0D in column 2"},
      {Raised([] { B("m").Query("quA").Sql("\n -- a\n").Build(); }),
       "expected SQL in the SQL of quA, found only blank and comment lines"},
  };
  for (const auto& [fault, message] : cases) {
    EXPECT_TRUE(fault.starts_with("class map m: ")) << fault << "\n" << message;
    EXPECT_NE(fault.find(message), std::string::npos) << fault << "\n" << message;
  }
  TClassMapDefinition indented = query().Build();
  indented.queries[0].sql = {"", "  a"};
  EXPECT_NE(Raised([&] { WriteClassMap(indented); }), "");
}

}  // namespace
}  // namespace perlayer
