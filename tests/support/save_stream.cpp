// save_stream FILE [TRANSACTIONS]: writes a TSaveStream into the file, and tells its progress.

#include <exception>

#include "support/SaveStream.h"

int main(int count, char** arguments) {
  try {
    perlayer::TSaveStream::Run(count > 1 ? arguments[1] : "",
                               count > 2 ? std::stoi(arguments[2]) : 0);
    return 0;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "save_stream: %s\n", e.what());
    return 1;
  }
}
