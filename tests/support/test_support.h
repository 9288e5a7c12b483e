// Shared helpers for the test executables.
#pragma once

#include <string>

namespace morvanta_test {

// Directory that holds the running test executable (and the sandbox index.js).
std::string ExecutableDir();

// Root of the source tree (for test data shipped with the sources).
std::string SourceDir();

}  // namespace morvanta_test

#include <chrono>
#include <vector>

namespace morvanta_test {

struct ProcessResult {
  bool exited = false;   // ended by exit() or return from main
  int exit_code = -1;
  int signal = 0;        // the signal that ended it, if any
  bool timed_out = false;
  std::string output;    // standard output and error, interleaved
  double seconds = 0;
  // Seconds from the first sight of `signal_after_text` to the end; -1 if
  // it never appeared.
  double seconds_after_text = -1;
};

// Runs `args` (args[0] a path) with its output captured; kills it after
// `limit`. When `signal_after_text` appears in the output, `signal_to_send`
// is sent to the child (0 sends nothing: the text then only marks a time).
ProcessResult RunProcess(const std::vector<std::string>& args, std::chrono::milliseconds limit,
                         const std::string& signal_after_text = "", int signal_to_send = 0);

// Number of times `needle` occurs in `haystack`.
int CountOf(const std::string& haystack, const std::string& needle);

}  // namespace morvanta_test
