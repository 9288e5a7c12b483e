#include "bridge/script_cache_trim.h"

#include <functional>

namespace morvanta {
namespace jsbridge {

ScriptCacheTrim::ScriptCacheTrim(size_t budget) : budget_(budget ? budget : 1) {}

void ScriptCacheTrim::NoteCompile(const std::string& text) {
  uint64_t hash = std::hash<std::string>{}(text);
  if (hash == 0) hash = 1;  // 0 marks an empty slot
  uint64_t& slot = recent_[hash % kRecent];
  if (slot == hash) return;
  slot = hash;
  ++fresh_;
}

bool ScriptCacheTrim::TrimIfDue(v8::Isolate* isolate) {
  if (!Due() || !isolate) return false;
  fresh_ = 0;
  ++trims_;
  // Moderate memory pressure starts an incremental, memory-reducing
  // collection, which also lets go of the cache entries of scripts that are
  // no longer used. It costs a few milliseconds here and spreads the rest of
  // the marking over the following calls; a low-memory notification would do
  // the same in one pause of 50-100 ms. Scripts compiled again afterwards
  // are simply compiled anew.
  isolate->MemoryPressureNotification(v8::MemoryPressureLevel::kModerate);
  return true;
}

}  // namespace jsbridge
}  // namespace morvanta
