#include "capi/c_alloc.h"

#include <atomic>
#include <cstdlib>

namespace morvanta {
namespace capi {
namespace {
std::atomic<int> g_fail_countdown{0};
}  // namespace

void FailAllocationAfter(int n) { g_fail_countdown = n; }

bool AllocationShouldFail() {
  int current = g_fail_countdown.load();
  while (current > 0) {
    if (g_fail_countdown.compare_exchange_weak(current, current - 1)) return current == 1;
  }
  return false;
}

char* DupString(const std::string& text) {
  if (AllocationShouldFail()) return nullptr;
  return strdup(text.c_str());
}

char* DupOptional(const std::optional<std::string>& text, bool& ok) {
  if (!text) return nullptr;
  char* copy = DupString(*text);
  if (!copy) ok = false;
  return copy;
}

}  // namespace capi
}  // namespace morvanta
