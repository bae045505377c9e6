// bench_Kills [KILLS] [SEED]: kills a program at a random moment of a stream of saves, again and
// again on one file, and looks each time that only whole transactions are in it.

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>

#include "support/TKilledStream.h"

namespace {

// What is killed is this program in its second form: bench_Kills --stream FILE.
void Run(int kills, unsigned seed) {
  const perlayer::TLayer layer;
  std::string directory = std::filesystem::temp_directory_path() / "perlayer-kills-XXXXXX";
  if (mkdtemp(directory.data()) == nullptr) throw perlayer::Exception("cannot make " + directory);
  perlayer::TKilledStream stream({"/proc/self/exe", "--stream"}, directory + "/stream.db");
  std::mt19937 random(seed);
  for (int i = 1; i <= kills; ++i) {
    const int bytes = static_cast<int>(random() % 400);
    const int spins = static_cast<int>(random() % 2000000);
    stream.KillAfter(bytes, spins);
    if (i % 20 == 0) std::printf("%d kills, %d transactions whole\n", i, stream.Last());
  }
  std::filesystem::remove_all(directory);
}

}  // namespace

int main(int count, char** arguments) {
  try {
    if (count == 3 && std::string(arguments[1]) == "--stream") {
      perlayer::TSaveStream::Run(arguments[2], 0);
    } else {
      Run(count > 1 ? std::atoi(arguments[1]) : 200,
          count > 2 ? static_cast<unsigned>(std::atoi(arguments[2])) : 1);
    }
    return 0;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "bench_Kills: %s\n", e.what());
    return 1;
  }
}
