#pragma once
// Every row of the benchmarks' table as an object, held as long as this lives.

#include <memory>
#include <vector>

#include "BenchTable.h"
#include "perlayer/drivers/sqlite/TSqliteDatabase.h"
#include "perlayer/object/THold.h"
#include "perlayer/platform/TLayer.h"

namespace perlayer::bench {

class TBenchObjects {
 public:
  TBenchObjects() {
    FDatabase = std::make_unique<TSqliteDatabase>("_QOR", BenchFile());
    TplBench* const provider = MakeProvider();
    FHolder = Make<TScopeRetainer>();
    for (int id = 1; id <= kRows; ++id) {
      objects.push_back(provider->GetObject(FHolder.Get(), std::to_string(id), true));
    }
  }
  ~TBenchObjects() {
    for (TplPerObject* object : objects) object->Release(FHolder.Get());
  }
  TBenchObjects(const TBenchObjects&) = delete;
  TBenchObjects& operator=(const TBenchObjects&) = delete;

 private:
  TLayer FLayer;
  std::unique_ptr<TSqliteDatabase> FDatabase;
  TOwned<TScopeRetainer> FHolder;

 public:
  std::vector<TplPerObject*> objects;
};

}  // namespace perlayer::bench
