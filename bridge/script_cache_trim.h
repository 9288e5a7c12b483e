// Keeps V8's compilation cache from growing with every distinct call script.
// V8 keeps each compiled top-level script in a per-isolate cache keyed by its
// text, and a top-level script's bytecode never ages out, so calls whose
// arguments differ would each leave an entry behind for the life of the
// environment. The trimmer counts compiles of texts it has not seen lately
// and, once enough have piled up, has V8 start a memory-reducing collection
// that drops them, between tasks. Repeated texts do not count, so a host
// that sends the same calls over and over never pays for a trim.
// Worker thread only.
#pragma once

#include <v8.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace morvanta {
namespace jsbridge {

class ScriptCacheTrim {
 public:
  // Distinct compiles between two trims: about 1 KiB of cache each.
  static constexpr size_t kDefaultBudget = 4096;

  explicit ScriptCacheTrim(size_t budget = kDefaultBudget);

  // Notes that `text` was compiled as a call script.
  void NoteCompile(const std::string& text);

  // True when enough new texts have been compiled to call for a trim.
  bool Due() const { return fresh_ >= budget_; }

  // Drops the compilation cache if a trim is due; call with the isolate
  // entered and no JavaScript running. Returns whether it trimmed.
  bool TrimIfDue(v8::Isolate* isolate);

  size_t trims() const { return trims_; }

 private:
  // Hashes of recently compiled texts, by hash slot: a text that repeats
  // finds itself here and does not count as new.
  static constexpr size_t kRecent = 256;
  std::array<uint64_t, kRecent> recent_{};
  size_t budget_;
  size_t fresh_ = 0;
  size_t trims_ = 0;
};

}  // namespace jsbridge
}  // namespace morvanta
