#pragma once
// A new directory that goes, with all that is in it, at the end of the scope.

#include <stdlib.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

namespace ward {

class TScratchDirectory {
 public:
  TScratchDirectory() : FPath(std::filesystem::temp_directory_path() / "ward-XXXXXX") {
    if (mkdtemp(FPath.data()) == nullptr) {
      throw std::system_error(errno, std::generic_category(), "cannot make " + FPath);
    }
  }
  ~TScratchDirectory() {
    std::error_code nothingToBeDone;
    std::filesystem::remove_all(FPath, nothingToBeDone);
  }
  TScratchDirectory(const TScratchDirectory&) = delete;
  TScratchDirectory& operator=(const TScratchDirectory&) = delete;

  std::string File(std::string_view name) const { return FPath + "/" + std::string(name); }

 private:
  std::string FPath;
};

}  // namespace ward
