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
  // A low-memory notification empties the compilation cache and collects
  // what only the cache kept alive. Scripts compiled again afterwards are
  // simply compiled anew.
  isolate->LowMemoryNotification();
  return true;
}

}  // namespace jsbridge
}  // namespace morvanta
