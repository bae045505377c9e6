#pragma once
// A directory of the test's own, gone with everything in it at the end of the scope.

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <system_error>

namespace perlayer {

class TTempDir {
 public:
  TTempDir() : FPath(std::filesystem::temp_directory_path() / "perlayer-XXXXXX") {
    if (mkdtemp(FPath.data()) == nullptr) {
      throw std::system_error(errno, std::generic_category(), "cannot make " + FPath);
    }
  }
  ~TTempDir() {
    std::error_code error;
    std::filesystem::remove_all(FPath, error);
    if (error) ADD_FAILURE() << "cannot remove " << FPath << ": " << error.message();
  }
  TTempDir(const TTempDir&) = delete;
  TTempDir& operator=(const TTempDir&) = delete;

  const std::string& Path() const { return FPath; }
  // Path of a file of that name in the directory, whether or not it exists.
  std::string File(std::string_view name) const { return FPath + "/" + std::string(name); }
  // Writes a file and returns its path.
  std::string Write(std::string_view name, std::string_view contents) const {
    std::string path = File(name);
    std::ofstream out(path, std::ios::binary);
    out << contents;
    if (!out.flush()) ADD_FAILURE() << "cannot write " << path;
    return path;
  }

 private:
  std::string FPath;
};

}  // namespace perlayer
