#include "perlayer/platform/Files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <utility>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/TFileStream.h"

namespace perlayer {

namespace {

[[noreturn]] void Raise(const char* action, const std::string& path, int error) {
  throw EStreamError(std::string("Cannot ") + action + " " + path + ": " +
                     std::generic_category().message(error));
}

// The file behind symbolic links; the path itself where nothing stands there.
std::string BehindLinks(const std::string& path) {
  if (path.empty() || path.find('\0') != std::string::npos) {
    throw EStreamError("Cannot replace " + path + ": it is no path");
  }
  std::error_code error;
  if (!std::filesystem::is_symlink(path, error)) return path;
  std::string target = std::filesystem::canonical(path, error).string();
  if (error) Raise("replace", path, error.value());
  return target;
}

std::string DirectoryOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "./" : path.substr(0, slash + 1);
}

// A name in the directory that nothing has. Short, so that the longest name of a file leaves room
// for it; a file that a crash left behind does not stand in the way for ever.
std::string UnusedName(const std::string& directory) {
  static std::atomic<unsigned> counter{0};
  for (;;) {
    std::string name = directory + ".perlayer-" + std::to_string(getpid()) + "-" +
                       std::to_string(++counter) + ".tmp";
    struct stat state {};
    if (lstat(name.c_str(), &state) != 0) return name;
  }
}

void FlushDirectory(const std::string& directory) {
  const int handle = open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (handle < 0) Raise("flush", directory, errno);
  const int error = fsync(handle) == 0 ? 0 : errno;
  close(handle);
  // EINVAL: a file system that does not flush directories.
  if (error != 0 && error != EINVAL) Raise("flush", directory, error);
}

// Removes the file at the end of the scope unless it got its name.
class TTemporaryFile {
 public:
  explicit TTemporaryFile(std::string name) : FName(std::move(name)) {}
  ~TTemporaryFile() {
    if (!FRenamed) unlink(FName.c_str());
  }
  void Rename(const std::string& path) {
    if (rename(FName.c_str(), path.c_str()) != 0) Raise("rename", FName, errno);
    FRenamed = true;
  }

 private:
  const std::string FName;
  bool FRenamed = false;
};

// `old` is the state of the file that is replaced, nullptr when there is none.
void WriteAndRename(const std::string& target, const struct stat* old, std::string_view contents) {
  const std::string directory = DirectoryOf(target);
  const std::string name = UnusedName(directory);
  TFileStream file(name, TFileMode::createNew, old == nullptr ? 0666 : 0600);
  TTemporaryFile temporary(name);
  file.WriteText(contents);
  if (old != nullptr) {
    // Before the permissions: giving a file away clears some of them.
    if ((old->st_uid != geteuid() || old->st_gid != getegid()) &&
        fchown(file.Handle(), old->st_uid, old->st_gid) != 0 && errno != EPERM) {
      Raise("give away", name, errno);
    }
    if (fchmod(file.Handle(), old->st_mode & 07777) != 0) Raise("set permissions of", name, errno);
  }
  file.Flush();
  file.Close();
  temporary.Rename(target);
  FlushDirectory(directory);
}

}  // namespace

std::string ReadFile(const std::string& path) {
  return TFileStream(path, TFileMode::read).ReadRest();
}

std::optional<std::string> ReadFileIfThere(const std::string& path) {
  struct stat state {};
  if (stat(path.c_str(), &state) != 0 && errno == ENOENT) return std::nullopt;
  return ReadFile(path);
}

void ReplaceFile(const std::string& path, std::string_view contents) {
  const std::string target = BehindLinks(path);
  struct stat old {};
  const bool exists = stat(target.c_str(), &old) == 0;
  if (!exists && errno != ENOENT) Raise("replace", path, errno);
  if (exists && !S_ISREG(old.st_mode)) {
    throw EStreamError("Cannot replace " + path + ": it is no plain file");
  }
  if (exists && faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0) {
    Raise("replace", path, errno);
  }
  try {
    WriteAndRename(target, exists ? &old : nullptr, contents);
  } catch (const EStreamError& e) {
    throw EStreamError("Cannot replace " + path + ": " + e.Message());
  }
}

void MakePrivateDirectory(const std::string& path) {
  if (mkdir(path.c_str(), 0700) == 0) return;
  const int error = errno;
  if (error == EEXIST) {
    std::error_code ignored;  // what cannot be looked at is no directory to write to either
    if (!std::filesystem::is_directory(path, ignored)) Raise("make the directory", path, ENOTDIR);
    return;
  }
  const std::string above = std::filesystem::path(path).parent_path().string();
  if (error != ENOENT || above.empty() || above == path) Raise("make the directory", path, error);
  MakePrivateDirectory(above);
  if (mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) Raise("make the directory", path, errno);
}

}  // namespace perlayer
