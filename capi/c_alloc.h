// Allocation of the C payloads handed to callbacks. Strings come from strdup
// and go back with free; records and arrays from non-throwing new and go
// back with delete. Every allocation passes one door, so tests can make the
// n-th one fail and prove that the -9 paths release what was built.
#pragma once

#include <cstddef>
#include <cstring>
#include <new>
#include <optional>
#include <string>

namespace morvanta {
namespace capi {

// Test hook: the allocation `n` steps from now fails (1 = the next one);
// 0 turns failure injection off.
void FailAllocationAfter(int n);
// True when the current allocation is to fail (and counts it).
bool AllocationShouldFail();

// Duplicates a string; null when the copy could not be made.
char* DupString(const std::string& text);
// An optional string: null when not engaged. `ok` turns false when an
// engaged value could not be copied.
char* DupOptional(const std::optional<std::string>& text, bool& ok);

template <typename T>
T* NewRecord() {
  if (AllocationShouldFail()) return nullptr;
  return new (std::nothrow) T();  // value-initialised: zero-filled
}

template <typename T>
T* NewArray(size_t count) {
  if (AllocationShouldFail()) return nullptr;
  return new (std::nothrow) T[count]();
}

// Frees a string field and clears it.
inline void FreeField(char*& field) {
  free(field);
  field = nullptr;
}

inline int8_t TriState8(const std::optional<bool>& flag) { return flag ? (*flag ? 1 : 0) : -1; }
inline int32_t TriState32(const std::optional<bool>& flag) { return flag ? (*flag ? 1 : 0) : -1; }

}  // namespace capi
}  // namespace morvanta
