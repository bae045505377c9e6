#pragma once
// Starts a program that writes a TSaveStream, and kills it at a random moment.

#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <random>
#include <string>
#include <system_error>
#include <vector>

#include "support/SaveStream.h"

namespace perlayer {

class TKilledStream {
 public:
  // `command` is the program and its arguments; the file is added behind them.
  TKilledStream(std::vector<std::string> command, const std::string& file)
      : FCommand(std::move(command)) {
    FCommand.push_back(file);
  }

  // Runs it up to the byte of that number in what it tells, spins for a while, and kills it. What
  // was told as committed is in the file afterwards; raises an Exception when it is not, or when
  // anything else is.
  void KillAfter(int bytes, int spins) {
    int ends[2];
    if (pipe(ends) != 0) Fail("pipe");
    const pid_t child = Start(ends[1]);
    close(ends[1]);
    int told = 0;
    char what = 0;
    for (int i = 0; i < bytes && read(ends[0], &what, 1) == 1; ++i) {
      if (what == TSaveStream::kCommitted) ++told;
    }
    std::atomic<int> spun = 0;
    while (spun < spins) ++spun;
    kill(child, SIGKILL);
    while (read(ends[0], &what, 1) == 1) {
      if (what == TSaveStream::kCommitted) ++told;
    }
    close(ends[0]);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (!WIFSIGNALED(status) || WTERMSIG(status) != SIGKILL) {
      throw Exception("the stream ended by itself");
    }
    const int before = FLast;
    FLast = TSaveStream::Check(FCommand.back());
    if (FLast < before + told || FLast > before + told + 1) {
      throw Exception(Format("%d transactions were told as committed after %d, the last one is %d",
                             told, before, FLast));
    }
  }
  int Last() const { return FLast; }

 private:
  [[noreturn]] static void Fail(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
  }
  pid_t Start(int output) {
    std::vector<char*> words;
    for (std::string& word : FCommand) words.push_back(word.data());
    words.push_back(nullptr);
    const pid_t child = fork();
    if (child < 0) Fail("fork");
    if (child == 0) {
      dup2(output, STDOUT_FILENO);
      execv(words[0], words.data());
      _exit(127);
    }
    return child;
  }

  std::vector<std::string> FCommand;
  int FLast = 0;
};

}  // namespace perlayer
