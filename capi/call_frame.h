// The pieces every exported function is made of: a guard that keeps
// exceptions inside the library, an unwrap per handle, and one callback
// adapter per payload family that turns an MvResult into a C callback call.
#pragma once

#include <exception>
#include <functional>
#include <string>
#include <utility>

#include "core/mv_result.h"
#include "runtime/log.h"

namespace morvanta {
namespace capi {

// Runs `body`; any exception is logged and turned into `on_error`.
template <typename R, typename Body>
R Guarded(const char* name, R on_error, Body&& body) noexcept {
  try {
    return body();
  } catch (const std::exception& e) {
    log::Error("[Gatherdeck C API] ❌ Exception in ", name, ": ", e.what());
  } catch (...) {
    log::Error("[Gatherdeck C API] ❌ Unknown exception in ", name);
  }
  return on_error;
}

// The manager behind a handle, or null for a NULL handle.
template <typename Handle>
auto ManagerOf(Handle* handle) -> decltype(handle->manager.get()) {
  return handle ? handle->manager.get() : nullptr;
}

// Copies a C string; NULL becomes "".
inline std::string Str(const char* s) { return s ? std::string(s) : std::string(); }

inline const char* Message(const std::string& m) { return m.c_str(); }

// Plain family: code and message. A NULL callback reports nothing.
template <typename CCallback>
std::function<void(const MvResult<void>&)> PlainAdapter(CCallback callback, void* user_data) {
  if (!callback) return nullptr;
  return [callback, user_data](const MvResult<void>& r) { callback(r.code, Message(r.message), user_data); };
}

// Record family: builds the C record on success; a failed build is -9 with
// `fail_text` and a NULL record.
template <typename T, typename CRecord, typename CCallback>
std::function<void(const MvResult<T>&)> RecordAdapter(CCallback callback, void* user_data,
                                                      CRecord* (*build)(const T&), const char* fail_text) {
  if (!callback) return nullptr;
  return [callback, user_data, build, fail_text](const MvResult<T>& r) {
    CRecord* record = nullptr;
    if (r.code == 0 && r.data) {
      record = build(*r.data);
      if (!record) {
        callback(-9, fail_text, nullptr, user_data);
        return;
      }
    }
    callback(r.code, Message(r.message), record, user_data);
  };
}

}  // namespace capi
}  // namespace morvanta
