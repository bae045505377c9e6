#include "perlayer/platform/TIniFile.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <random>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Files.h"
#include "perlayer/platform/Text.h"
#include "support/Faults.h"
#include "support/Raised.h"
#include "support/TempDir.h"

namespace perlayer {
namespace {

class TIniFileTest : public testing::Test {
 protected:
  // What `action` makes of a file with these contents.
  template <class TAction>
  std::string After(std::string_view contents, TAction action) {
    const std::string path = FDir.Write("after.ini", contents);
    TIniFile ini(path);
    action(ini);
    ini.UpdateFile();
    return ReadFile(path);
  }

  TTempDir FDir;
  const std::string FPath = FDir.File("test.ini");
};

TEST_F(TIniFileTest, ReadsWhatPeopleWrite) {
  const TIniFile ini(FDir.Write("hand.ini",
                                "\xEF\xBB\xBF[ First ] ; a comment\n"
                                "key = two  words \n"
                                "  Other=\"quoted\"; no comment\r\n"
                                "; key=comment\n"
                                "no equals sign\n"
                                "= no key\n"
                                "[Form[1]:0]\n"
                                "a=b=c\n"
                                "[first]\n"
                                "KEY=later\n"
                                "more=\n"
                                "[open=1\n"
                                "last=no line end"));
  EXPECT_EQ(ini.ReadString("FIRST", "Key", ""), " two  words ");
  EXPECT_EQ(ini.ReadString("first", "other", ""), "\"quoted\"; no comment");
  EXPECT_EQ(ini.ReadString("Form[1]:0", "a", ""), "b=c");
  EXPECT_EQ(ini.ReadString("first", "more", "Ni"), "");
  EXPECT_EQ(ini.ReadString("first", "last", ""), "no line end");
  EXPECT_EQ(ini.ReadString("first", "none", "Ni"), "Ni");
  EXPECT_EQ(ini.ReadString("none", "key", "Ni"), "Ni");
  EXPECT_EQ(ini.ReadSections(), (std::vector<std::string>{"First", "Form[1]:0"}));
  EXPECT_EQ(ini.ReadSection("first"), (std::vector<std::string>{"key", "Other", "more", "last"}));
  EXPECT_TRUE(ini.SectionExists("form[1]:0") && ini.ValueExists("first", "LAST"));
  EXPECT_EQ(TIniFile(FDir.Write("half.ini", "[A]\nx=1\r")).ReadString("A", "x", ""), "1");
  EXPECT_FALSE(ini.SectionExists("form") || ini.ValueExists("first", "; key"));
}

TEST_F(TIniFileTest, ChangesOnlyWhatIsAsked) {
  const std::string file =
      "; top\r\n[A]\r\n; of x\r\nx = 1\r\n?\r\n\r\n; of B\r\n[B]\r\ny=2\r\n[a]\r\nX=3\r\nz=4";
  EXPECT_EQ(After(file, [](TIniFile& i) { i.WriteString("a", "X", " new"); }),
            "; top\r\n[A]\r\n; of x\r\nx = new\r\n?\r\n\r\n; of B\r\n[B]\r\ny=2\r\n[a]\r\nX=3\r\n"
            "z=4");
  EXPECT_EQ(After(file, [](TIniFile& i) { i.WriteString("A", "w", ""); }),
            "; top\r\n[A]\r\n; of x\r\nx = 1\r\nw=\r\n?\r\n\r\n; of B\r\n[B]\r\ny=2\r\n[a]\r\nX=3"
            "\r\nz=4");
  EXPECT_EQ(After(file, [](TIniFile& i) { i.WriteString("C", "k", "v"); }),
            file + "\r\n\r\n[C]\r\nk=v\r\n");
  EXPECT_EQ(After(file, [](TIniFile& i) { i.DeleteKey("A", "X"); }),
            "; top\r\n[A]\r\n; of x\r\n?\r\n\r\n; of B\r\n[B]\r\ny=2\r\n[a]\r\nz=4");
  EXPECT_EQ(After(file, [](TIniFile& i) { i.EraseSection("a"); }),
            "; top\r\n?\r\n\r\n; of B\r\n[B]\r\ny=2\r\n");
  const std::string untouched = After(file, [](TIniFile& i) {
    i.DeleteKey("A", "none");
    i.EraseSection("none");
    i.WriteString("b", "Y", "2");
    EXPECT_FALSE(i.Modified());
  });
  EXPECT_EQ(untouched, file);
  // Erasing and writing again, as a form does with its views, does not fill the file with blanks.
  const auto rewrite = [](TIniFile& i) {
    for (const char* section : {"V:0", "V:1"}) i.EraseSection(section);
    for (const char* section : {"V:0", "V:1"}) i.WriteString(section, "Name", section);
  };
  const std::string once = After("[Q]\nk=1\n\n[V:1]\nName=old\n", rewrite);
  EXPECT_EQ(once, "[Q]\nk=1\n\n[V:0]\nName=V:0\n\n[V:1]\nName=V:1\n");
  EXPECT_EQ(After(once, rewrite), once);
}

TEST_F(TIniFileTest, RefusesWhatWouldNotReadBack) {
  TIniFile ini(FPath);
  EXPECT_EQ(Raised([&] { ini.WriteString("section", "key", "secret\n"); }),
            "A value with a line break cannot be written to " + FPath + " as [section] key");
  for (const char* key : {"", "[k"}) {
    EXPECT_THROW(ini.WriteString("section", key, "v"), EConvertError);
  }
  EXPECT_FALSE(ini.Modified());
}

// Random files and random changes: what is written is read, now and from the file; what no change
// names stays, comments and order included.
TEST_F(TIniFileTest, FollowsAModelThroughRandomChanges) {
  const unsigned seed = std::random_device()();
  SCOPED_TRACE(seed);
  std::mt19937 random(seed);
  const char* const pieces[] = {"[",  "]",     "=",       ";",  "#",     " ",       "\t",
                                "\n", "\r\n",  "\r",      "a",  "B",     "č",       "\xFF",
                                "\"", "[a]\n", "[B]\r\n", "a=", "b=1\n", "; note\n"};
  const auto text = [&](std::size_t most) {
    std::string result;
    for (std::size_t n = random() % most; n > 0; --n)
      result += pieces[random() % std::size(pieces)];
    return result;
  };
  using TModel = std::map<std::pair<std::string, std::string>, std::string>;
  const auto all = [](const TIniFile& ini) {
    TModel model;
    for (const std::string& section : ini.ReadSections()) {
      for (const std::string& key : ini.ReadSection(section)) {
        model[{FoldCase(section), FoldCase(key)}] = ini.ReadString(section, key, "absent");
      }
    }
    return model;
  };
  int accepted = 0;
  for (int run = 0; run < 100; ++run) {
    const std::string path = FDir.Write("fuzz.ini", text(60));
    TIniFile ini(path);
    TModel model = all(ini);
    for (int change = 0; change < 60; ++change) {
      std::string section = random() % 2 == 0 ? "a" : text(4);
      std::string key = random() % 2 == 0 ? "b" : text(4);
      if (!model.empty() && random() % 2 == 0) {
        const auto& known = *std::next(model.begin(), static_cast<int>(random() % model.size()));
        std::tie(section, key) = known.first;
      }
      switch (random() % 5) {
        case 0:
          ini.DeleteKey(section, key);
          model.erase({FoldCase(section), FoldCase(key)});
          break;
        case 1:
          if (random() % 3 > 0) break;
          ini.EraseSection(section);
          std::erase_if(model, [&](const auto& e) { return e.first.first == FoldCase(section); });
          EXPECT_FALSE(ini.SectionExists(section));
          break;
        default: {
          const std::string value = text(4);
          try {
            ini.WriteString(section, key, value);
          } catch (const EConvertError&) {
            break;
          }
          ++accepted;
          model[{FoldCase(section), FoldCase(key)}] = value;
        }
      }
      ASSERT_EQ(all(ini), model);
    }
    ini.UpdateFile();
    const std::string written = ReadFile(path);
    TIniFile again(path);
    ASSERT_EQ(all(again), model) << written;
    // A section more and less leaves every byte before it.
    again.WriteString("NEW", "k", "v");
    again.UpdateFile();
    ASSERT_EQ(ReadFile(path).substr(0, written.size()), written);
  }
  EXPECT_GT(accepted, 500);
}

TEST_F(TIniFileTest, ABareNameLiesInThePrivateDirectory) {
  const std::string directory = FDir.File("home/settings");
  TIniFile::UserDirectory(directory);
  {
    TIniFile ini("QORDATA.INI");
    EXPECT_EQ(ini.FileName(), directory + "/QORDATA.INI");
    ini.UpdateFile();
    EXPECT_FALSE(std::filesystem::exists(directory)) << "nothing was written";
    ini.WriteString("Form:0", "Name", "Moj pogled");
    ini.UpdateFile();
    ini.WriteString("Form:0", "Name", "never updated");
  }
  EXPECT_EQ(TIniFile("QORDATA.INI").ReadString("Form:0", "Name", "Ni"), "Moj pogled");

  TIniFile::UserDirectory("");
  ASSERT_EQ(setenv("XDG_CONFIG_HOME", "/x/config", 1), 0);
  EXPECT_EQ(TIniFile::UserDirectory(), "/x/config/perlayer");
  ASSERT_EQ(unsetenv("XDG_CONFIG_HOME"), 0);
  const char* const home = std::getenv("HOME");
  const std::string before = home == nullptr ? "" : home;
  ASSERT_EQ(setenv("HOME", "/y", 1), 0);
  EXPECT_EQ(TIniFile::UserDirectory(), "/y/.config/perlayer");
  ASSERT_EQ(unsetenv("HOME"), 0);
  EXPECT_THROW(TIniFile::UserDirectory(), EStreamError);
  if (home != nullptr) setenv("HOME", before.c_str(), 1);
}

TEST_F(TIniFileTest, AFailedUpdateKeepsTheOldFileAndCanBeRepeated) {
  const std::string path = FDir.Write("a.ini", "[A]\nx=1\n");
  TIniFile ini(path);
  ini.WriteString("A", "x", "a much longer value");
  {
    const TFullDisk disk(10);
    EXPECT_THROW(ini.UpdateFile(), EStreamError);
  }
  EXPECT_EQ(ReadFile(path), "[A]\nx=1\n");
  EXPECT_TRUE(ini.Modified());
  ini.UpdateFile();
  EXPECT_EQ(ReadFile(path), "[A]\nx=a much longer value\n");

  TIniFile::UserDirectory(path);  // a file is in the way
  EXPECT_THROW(TIniFile("b.ini"), EStreamError);
}

}  // namespace
}  // namespace perlayer
