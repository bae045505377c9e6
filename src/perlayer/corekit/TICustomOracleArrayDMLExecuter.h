#pragma once
// TICustomOracleArrayDMLExecuter: writing many rows by arrays of binds. No driver can do that yet:
// Enabled() says so, and whoever asks it writes row by row.

namespace perlayer {

class TICustomOracleArrayDMLExecuter {
 public:
  static bool Enabled() { return false; }
};

}  // namespace perlayer
