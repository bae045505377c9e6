#pragma once
// Runs a program as a user would, for tests of what it prints and of its status.

#include <stdio.h>
#include <sys/wait.h>

#include <cerrno>
#include <string>
#include <system_error>
#include <vector>

namespace perlayer {

struct TProgramRun {
  int status = 0;      // the exit status; 128 + N when signal N ended it
  std::string output;  // of both standard streams, in the order of writing
};

// Runs `command`, the path of a program and its arguments, with nothing on its standard input, and
// waits for its end. Raises std::system_error when it cannot be started at all.
inline TProgramRun RunProgram(const std::vector<std::string>& command) {
  std::string line;
  for (const std::string& word : command) {
    line += '\'';
    for (const char c : word) line += c == '\'' ? std::string("'\\''") : std::string(1, c);
    line += "' ";
  }
  FILE* pipe = popen((line + "</dev/null 2>&1").c_str(), "r");
  if (pipe == nullptr)
    throw std::system_error(errno, std::generic_category(), "cannot run " + line);
  TProgramRun run;
  char buffer[4096];
  while (const std::size_t size = fread(buffer, 1, sizeof buffer, pipe))
    run.output.append(buffer, size);
  const int status = pclose(pipe);
  run.status = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
  return run;
}

}  // namespace perlayer
