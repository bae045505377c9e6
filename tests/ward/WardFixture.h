#pragma once
// The ward as its users meet it: the program is run, and its output and status are looked at.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "perlayer/corekit/TField.h"
#include "perlayer/corekit/TIQuery.h"
#include "perlayer/drivers/sqlite/TSqliteDatabase.h"
#include "perlayer/platform/Text.h"
#include "support/RunProgram.h"
#include "support/TempDir.h"

namespace perlayer {

class Ward : public testing::Test {
 protected:
  TProgramRun Run(std::vector<std::string> words) {
    words.insert(words.begin(), PERLAYER_WARD);
    return RunProgram(words);
  }

  void Load() {
    const TProgramRun run = Run({"load", "--db", File});
    ASSERT_EQ(run.status, 0) << run.output;
  }

  TProgramRun Show(const std::string& what, const std::string& id) {
    return Run({"show", what, id, "--db", File});
  }

  // The answer of a select of one column, a line for each row.
  std::string Select(const std::string& select) {
    TSqliteDatabase database("other", File);
    const TOwned<TIQuery> query = Make<TIQuery>();
    query->DatabaseName("other");
    query->SQLText(select);
    std::string text;
    for (query->Open(); !query->Eof(); query->Next()) text += query->Fields(0)->AsString() + "\n";
    return text;
  }

  // As another program would.
  void Change(const std::string& statement, int rows) {
    TSqliteDatabase database("other", File);
    EXPECT_EQ(database.Execute(statement), rows) << statement;
    database->Commit("test");
  }

  // Status 1 and a message that is one line and holds `message`.
  static void ExpectRefused(const TProgramRun& run, const std::string& message) {
    EXPECT_EQ(run.status, 1) << run.output;
    EXPECT_TRUE(run.output.starts_with("ward: ")) << run.output;
    EXPECT_EQ(run.output.find('\n') + 1, run.output.size()) << run.output;
    EXPECT_TRUE(StringInSet(message, run.output)) << "no \"" << message << "\" in " << run.output;
  }

  TTempDir Dir;
  std::string File = Dir.File("ward.db");
};

// Each of the texts stands in the output, behind the one before it.
inline void ExpectInOrder(const std::string& output, const std::vector<std::string>& texts) {
  std::size_t at = 0;
  for (const std::string& text : texts) {
    const std::size_t found = output.find(text, at);
    EXPECT_NE(found, std::string::npos) << "no \"" << text << "\" behind\n" << output.substr(0, at);
    if (found != std::string::npos) at = found + text.size();
  }
}

}  // namespace perlayer
