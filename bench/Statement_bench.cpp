// What it costs to get at a statement whose text was seen before: its text is looked up among the
// parsed ones, its prepared statement taken from the session and given back. The baseline looks the
// same texts up in a std::unordered_map, once.

#include <benchmark/benchmark.h>

#include <filesystem>
#include <string>
#include <unordered_map>
#include <vector>

#include "BenchTable.h"
#include "perlayer/corekit/TIDatabase.h"
#include "perlayer/corekit/TIQuery.h"
#include "perlayer/drivers/sqlite/TSqliteDatabase.h"
#include "perlayer/drivers/sqlite/TSqliteSession.h"

namespace perlayer::bench {
namespace {

constexpr int kTexts = 150;  // fewer than a session keeps prepared

// Statements as class maps have them: 300 to 800 bytes, alike in their beginnings and lengths.
std::vector<std::string> Texts() {
  std::vector<std::string> texts;
  for (int i = 0; i < kTexts; ++i) {
    std::string text =
        "select ID, SURNAME, NAME, CITY, STREET, ZIP, PHONE, DIAGNOSIS, WEIGHT, BORN, VISITS, "
        "ACTIVE,\r\nnvl(WEIGHT, " +
        std::to_string(i) + ") as W, to_char(BORN, 'DD.MM.YYYY') as B";
    for (int k = 0; k < i % 16; ++k)
      text += ",\r\nnvl(CITY, :P" + std::to_string(k) + ") as C" + std::to_string(k);
    text +=
        "\r\nfrom OMRA.BENCH\r\nwhere\r\nID = :ID and (SURNAME like :SURNAME or :SURNAME is null) "
        "and ACTIVE = '1' and BORN between :FROM_DATE and :TO_DATE\r\norder by SURNAME, NAME";
    texts.push_back(text);
  }
  return texts;
}

// The order in which they are asked for, so that no look-up finds its own text still at hand.
std::vector<int> Order() {
  std::uint64_t state = 7;
  std::vector<int> order;
  for (int i = 0; i < 4096; ++i) order.push_back(NextKey(state) % kTexts);
  return order;
}

void LookUpOnce(benchmark::State& state) {
  const std::vector<std::string> texts = Texts();
  const std::vector<int> order = Order();
  std::unordered_map<std::string, int> map;
  for (int i = 0; i < kTexts; ++i) map.emplace(texts[static_cast<std::size_t>(i)], i);
  for (std::size_t at = 0; auto _ : state) {
    benchmark::DoNotOptimize(map.find(texts[static_cast<std::size_t>(order[at++ % 4096])]));
  }
}
BENCHMARK(LookUpOnce);

// The driver's side: from a text to its prepared statement, and back.
void TakeAndGiveBack(benchmark::State& state) {
  TLayer layer;
  const std::vector<std::string> texts = Texts();
  const std::vector<int> order = Order();
  TSqliteSession session(BenchFile());
  for (const std::string& text : texts) session.GiveBack(session.Take(TStatementText::Of(text)));
  for (std::size_t at = 0; auto _ : state) {
    const std::string& text = texts[static_cast<std::size_t>(order[at++ % 4096])];
    TDriverStatement* const statement = session.Take(TStatementText::Of(text));
    benchmark::DoNotOptimize(statement);
    session.GiveBack(statement);
  }
}
BENCHMARK(TakeAndGiveBack);

// A query that is given a text and prepared: the name of its database and its place among that
// one's queries are in it.
void PrepareQuery(benchmark::State& state) {
  TLayer layer;
  const std::vector<std::string> texts = Texts();
  const std::vector<int> order = Order();
  TSqliteDatabase database("_QOR", BenchFile());
  TOwned<TIQuery> query = Make<TIQuery>();
  query->DatabaseName("_QOR");
  for (const std::string& text : texts) {
    query->AssignStatement(TStatementText::Of(text));
    query->Prepare();
  }
  for (std::size_t at = 0; auto _ : state) {
    const std::string& text = texts[static_cast<std::size_t>(order[at++ % 4096])];
    query->AssignStatement(TStatementText::Of(text));
    query->Prepare();
  }
}
BENCHMARK(PrepareQuery);

}  // namespace
}  // namespace perlayer::bench

BENCHMARK_MAIN();
