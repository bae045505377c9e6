#pragma once
// The table that the fetch benchmarks read: rows of 12 columns in a file, about 160 bytes of text a
// row, and the class that the layer makes of a row. Made once per process, in a directory that goes
// with it.

#include <string>

#include "perlayer/object/TplPerObject.h"
#include "perlayer/provider/TPROVIDER.h"

namespace perlayer::bench {

inline constexpr int kRows = 100000;

class TpoBench : public TplPerObject {
  TCLASS(TpoBench, TplPerObject)
};
TPROVIDER(TplBench, TpoBench)

// Path of the database file with that many rows.
const std::string& BenchFile(int rows = kRows);
// The statements of the raw loops: the texts that the layer's class map comes to in the engine.
const char* RawSelect();
const char* RawSelectAll();
// Makes the class map and the provider in the loaded layer.
TplBench* MakeProvider();
// A reproducible sequence of keys from 1 to kRows.
int NextKey(std::uint64_t& state);

}  // namespace perlayer::bench
