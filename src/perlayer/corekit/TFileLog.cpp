#include "perlayer/corekit/TFileLog.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

#include "perlayer/platform/TClock.h"

namespace perlayer {

namespace {

constexpr std::size_t kWriteAt = std::size_t{16} << 10;    // pending bytes that are worth a write
constexpr std::size_t kMaxPending = std::size_t{1} << 20;  // pending bytes while the disk fails
constexpr std::int64_t kPatience = 1000;                   // milliseconds

// "27.01.2023 16:17:47  ". Made by hand: the format settings are not this thread's to read.
std::string Stamp(TDateTime now) {
  const TDateParts date = DecodeDate(now);
  const TTimeParts time = DecodeTime(now);
  char text[64];
  const int size = std::snprintf(text, sizeof text, "%02d.%02d.%04d %02d:%02d:%02d  ", date.day,
                                 date.month, date.year, time.hour, time.minute, time.second);
  return std::string(text, static_cast<std::size_t>(size));
}

// The stamp and the text, whose further lines are indented by the stamp's width.
std::string Entry(std::string_view text) {
  std::string entry = Stamp(Now());
  const std::size_t indent = entry.size();
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\r' && text[i] != '\n') {
      entry += text[i];
      continue;
    }
    if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
    entry += '\n';
    entry.append(indent, ' ');
  }
  entry += '\n';
  return entry;
}

std::string NumberedPath(const std::string& path, int number) {
  return number == 0 ? path : path + "." + std::to_string(number);
}

}  // namespace

TFileLog::TFileLog(std::string path, std::size_t maxBytes, int keptFiles)
    : FPath(std::move(path)), FMaxBytes(maxBytes), FKeptFiles(std::max(keptFiles, 0)) {}

TFileLog::~TFileLog() {
  WriteOut();
  if (!FPending.empty() || FLost > 0) {
    std::fprintf(stderr,
                 "perlayer: the end of the log %s could not be written (%zu more lost):\n%s",
                 FPath.c_str(), FLost, FPending.c_str());
  }
}

void TFileLog::Line(std::string_view line) {
  Append(Entry(line));
  const std::int64_t now = TClock::Current().Ticks();
  if (FFailing) {
    if (now >= FRetryAt) WriteOut();
  } else if (FPending.size() >= kWriteAt || now - FPendingSince >= kPatience) {
    WriteOut();
  }
}

void TFileLog::Flush() { WriteOut(); }

void TFileLog::Append(std::string_view entry) {
  if (FFailing && FPending.size() + entry.size() > kMaxPending) {
    ++FLost;
    return;
  }
  const std::int64_t now = TClock::Current().Ticks();
  if (!FFailing && Open() && FFileSize + FPending.size() > 0 &&
      FFileSize + FPending.size() + entry.size() > FMaxBytes && now >= FRotateAt) {
    WriteOut();
    if (!FFailing) Rotate(now);
  }
  if (FPending.empty()) FPendingSince = now;
  FPending += entry;
}

void TFileLog::WriteOut() {
  if (FPending.empty() || !Open()) return;
  const std::size_t written = std::fwrite(FPending.data(), 1, FPending.size(), FFile.get());
  const int error = errno;
  FFileSize += written;
  FPending.erase(0, written);
  if (!FPending.empty()) {
    FFile.reset();  // a new attempt opens the path anew
    Failed("write", error);
    return;
  }
  FFailing = false;
  if (FLost > 0) {
    FPending = Entry(std::to_string(std::exchange(FLost, 0)) + " lines were lost here");
    WriteOut();
  }
}

bool TFileLog::Open() {
  if (FFile != nullptr) return true;
  FFile.reset(std::fopen(FPath.c_str(), "ab"));
  if (FFile == nullptr) {
    Failed("open", errno);
    return false;
  }
  std::setvbuf(FFile.get(), nullptr, _IONBF, 0);
  std::error_code error;
  const std::uintmax_t size = std::filesystem::file_size(FPath, error);
  FFileSize = error ? 0 : static_cast<std::size_t>(size);
  return true;
}

void TFileLog::Rotate(std::int64_t now) {
  FFile.reset();
  std::error_code error;
  for (int number = FKeptFiles; number >= 1; --number) {
    std::filesystem::rename(NumberedPath(FPath, number - 1), NumberedPath(FPath, number), error);
    if (error == std::errc::no_such_file_or_directory) error.clear();
    if (error) break;
  }
  if (FKeptFiles == 0) std::filesystem::remove(FPath, error);
  if (!error) {
    FRotationFailing = false;
    return;
  }
  // The file goes on growing until it can be moved: better too long than lost.
  FRotateAt = now + kPatience;
  if (!std::exchange(FRotationFailing, true)) Tell("rotate", error.value());
}

void TFileLog::Failed(const char* action, int error) {
  FRetryAt = TClock::Current().Ticks() + kPatience;
  if (!std::exchange(FFailing, true)) Tell(action, error);
}

void TFileLog::Tell(const char* action, int error) const {
  std::fprintf(stderr, "perlayer: cannot %s the log %s: %s\n", action, FPath.c_str(),
               std::generic_category().message(error).c_str());
}

}  // namespace perlayer
