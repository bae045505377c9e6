#pragma once
// Faults of the file system for the length of a scope.

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <string>

namespace perlayer {

// No file can grow beyond that many bytes, as on a disk that is full.
class TFullDisk {
 public:
  explicit TFullDisk(std::size_t bytes) : FHandler(std::signal(SIGXFSZ, SIG_IGN)) {
    EXPECT_EQ(getrlimit(RLIMIT_FSIZE, &FBefore), 0);
    rlimit tight = FBefore;
    tight.rlim_cur = bytes;
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &tight), 0);
  }
  ~TFullDisk() {
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &FBefore), 0);
    std::signal(SIGXFSZ, FHandler);
  }
  TFullDisk(const TFullDisk&) = delete;
  TFullDisk& operator=(const TFullDisk&) = delete;

 private:
  void (*const FHandler)(int);
  rlimit FBefore{};
};

// Permissions count, also where the tests run as root, whom they do not stop.
class TOrdinaryUser {
 public:
  TOrdinaryUser() : FRoot(geteuid() == 0) { EXPECT_EQ(FRoot ? seteuid(65534) : 0, 0); }
  ~TOrdinaryUser() { EXPECT_EQ(FRoot ? seteuid(0) : 0, 0); }
  TOrdinaryUser(const TOrdinaryUser&) = delete;
  TOrdinaryUser& operator=(const TOrdinaryUser&) = delete;

 private:
  const bool FRoot;
};

// How many entries a directory has.
inline std::ptrdiff_t EntriesOf(const std::string& directory) {
  return std::distance(std::filesystem::directory_iterator(directory), {});
}

}  // namespace perlayer
