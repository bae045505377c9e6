#include "perlayer/platform/TFileStream.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

namespace perlayer {

namespace {

int OpenFlags(TFileMode mode) {
  switch (mode) {
    case TFileMode::read:
      return O_RDONLY;
    case TFileMode::readWrite:
      return O_RDWR;
    case TFileMode::create:
      return O_RDWR | O_CREAT | O_TRUNC;
    case TFileMode::createNew:
      return O_RDWR | O_CREAT | O_EXCL;
  }
  return O_RDONLY;
}

// Calls again what a signal interrupted.
template <class TCall>
auto Uninterrupted(TCall call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

// A single call of the system does not move more than about 2 GiB.
constexpr std::size_t kMostAtOnce = std::size_t{1} << 30;

}  // namespace

TFileStream::TFileStream(std::string path, TFileMode mode, unsigned permissions)
    : FPath(std::move(path)) {
  const char* const action =
      mode == TFileMode::read || mode == TFileMode::readWrite ? "open" : "create";
  if (FPath.find('\0') != std::string::npos) Raise(action, "a zero byte in the path");
  FHandle =
      Uninterrupted([&] { return open(FPath.c_str(), OpenFlags(mode) | O_CLOEXEC, permissions); });
  if (FHandle < 0) RaiseSystem(action);
}

TFileStream::~TFileStream() {
  if (FHandle >= 0) close(FHandle);
}

void TFileStream::RaiseSystem(const char* action) const {
  const int error = errno;
  Raise(action, std::generic_category().message(error));
}

std::size_t TFileStream::Read(void* buffer, std::size_t size) {
  std::size_t done = 0;
  while (done < size) {
    const ssize_t read = Uninterrupted([&] {
      return ::read(FHandle, static_cast<char*>(buffer) + done, std::min(size - done, kMostAtOnce));
    });
    if (read < 0) RaiseSystem("read");
    if (read == 0) break;
    done += static_cast<std::size_t>(read);
  }
  return done;
}

void TFileStream::Write(const void* buffer, std::size_t size) {
  std::size_t done = 0;
  while (done < size) {
    const ssize_t written = Uninterrupted([&] {
      return ::write(FHandle, static_cast<const char*>(buffer) + done,
                     std::min(size - done, kMostAtOnce));
    });
    if (written < 0) RaiseSystem("write");
    done += static_cast<std::size_t>(written);
  }
}

std::int64_t TFileStream::Position() const {
  const off_t position = lseek(FHandle, 0, SEEK_CUR);
  if (position < 0) RaiseSystem("seek in");
  return position;
}

void TFileStream::Position(std::int64_t position) {
  if (lseek(FHandle, position, SEEK_SET) < 0) RaiseSystem("seek in");
}

std::int64_t TFileStream::Size() const {
  struct stat state {};
  if (fstat(FHandle, &state) != 0) RaiseSystem("measure");
  return state.st_size;
}

void TFileStream::Size(std::int64_t size) {
  if (Uninterrupted([&] { return ftruncate(FHandle, size); }) != 0) RaiseSystem("resize");
}

void TFileStream::Flush() {
  if (Uninterrupted([&] { return fsync(FHandle); }) != 0) RaiseSystem("flush");
}

void TFileStream::Close() {
  const int handle = std::exchange(FHandle, -1);
  // Also when it is interrupted, the handle is free afterwards and may be somebody else's.
  if (handle >= 0 && close(handle) != 0 && errno != EINTR) RaiseSystem("close");
}

}  // namespace perlayer
