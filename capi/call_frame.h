// The pieces every exported function is made of: a guard that keeps
// exceptions inside the library, an unwrap per handle, and one callback
// adapter per payload family that turns an MvResult into a C callback call
// (in host dispatch, queued and built when the host dispatches it).
#pragma once

#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>
#include <cstdint>

#include "capi/dispatched.h"
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

// The common body of an export: -1 when the handle has no manager or the
// export's own checks `refused`; otherwise `body` runs on the manager and the
// request is accepted (0). Exceptions are -999.
template <typename Handle, typename Body>
int WithManager(const char* name, Handle* handle, bool refused, Body&& body) noexcept {
  return Guarded<int>(name, -999, [&] {
    auto* manager = ManagerOf(handle);
    if (!manager || refused) return -1;
    body(*manager);
    return 0;
  });
}

// Copies a C string; NULL becomes "".
inline std::string Str(const char* s) { return s ? std::string(s) : std::string(); }

// Optional values from C: a NULL string and a negative number or flag are
// unset; a set flag is true unless 0.
inline std::optional<std::string> OptionalStr(const char* s) {
  return s ? std::optional<std::string>(s) : std::nullopt;
}
inline std::optional<bool> OptionalFlag(int64_t v) { return v < 0 ? std::nullopt : std::optional<bool>(v != 0); }
template <typename Number>
std::optional<Number> OptionalNumber(Number v) {
  return v < 0 ? std::nullopt : std::optional<Number>(v);
}

inline const char* Message(const std::string& m) { return m.c_str(); }

// Plain family: code and message. A NULL callback reports nothing.
template <typename CCallback>
std::function<void(const MvResult<void>&)> PlainAdapter(CCallback callback, void* user_data) {
  if (!callback) return nullptr;
  return Dispatched<const MvResult<void>&>(
      [callback, user_data](const MvResult<void>& r) { callback(r.code, Message(r.message), user_data); });
}

// Record family: builds the C record on success; a failed build is -9 with
// `fail_text` and a NULL record.
template <typename T, typename CRecord, typename CCallback>
std::function<void(const MvResult<T>&)> RecordAdapter(CCallback callback, void* user_data,
                                                      CRecord* (*build)(const T&), const char* fail_text) {
  if (!callback) return nullptr;
  return Dispatched<const MvResult<T>&>([callback, user_data, build, fail_text](const MvResult<T>& r) {
    CRecord* record = nullptr;
    if (r.code == 0 && r.data) {
      record = build(*r.data);
      if (!record) {
        callback(-9, fail_text, nullptr, user_data);
        return;
      }
    }
    callback(r.code, Message(r.message), record, user_data);
  });
}

// String family: a copied string on success ("Failed to allocate string" and
// -9 when the copy fails), NULL otherwise. Release with Morvanta_FreeString.
template <typename CCallback>
std::function<void(const MvResult<std::string>&)> StringAdapter(CCallback callback, void* user_data,
                                                                char* (*copy)(const std::string&)) {
  if (!callback) return nullptr;
  return Dispatched<const MvResult<std::string>&>([callback, user_data, copy](const MvResult<std::string>& r) {
    char* value = nullptr;
    if (r.code == 0 && r.data) {
      value = copy(*r.data);
      if (!value) {
        callback(-9, "Failed to allocate string", nullptr, user_data);
        return;
      }
    }
    callback(r.code, Message(r.message), value, user_data);
  });
}

// Integer family: the value only for a success holding a non-negative number.
template <typename CCallback>
std::function<void(const MvResult<int>&)> IntegerAdapter(CCallback callback, void* user_data) {
  if (!callback) return nullptr;
  return Dispatched<const MvResult<int>&>([callback, user_data](const MvResult<int>& r) {
    uint32_t value = (r.code == 0 && r.data && *r.data >= 0) ? static_cast<uint32_t>(*r.data) : 0u;
    callback(r.code, Message(r.message), value, user_data);
  });
}

// List family: `build` makes the C array (null with `ok` true for an empty
// list); a failed build is -9 with `fail_text`, a NULL array and a count of 0.
template <typename T, typename CItem, typename Count, typename CCallback>
std::function<void(const MvResult<std::vector<T>>&)> ListAdapter(CCallback callback, void* user_data,
                                                                  CItem* (*build)(const std::vector<T>&, bool&),
                                                                  const char* fail_text) {
  if (!callback) return nullptr;
  return Dispatched<const MvResult<std::vector<T>>&>([callback, user_data, build,
                                                      fail_text](const MvResult<std::vector<T>>& r) {
    if (r.code != 0 || !r.data) {
      callback(r.code, Message(r.message), nullptr, Count(0), user_data);
      return;
    }
    bool ok = true;
    CItem* items = build(*r.data, ok);
    if (!ok) {
      callback(-9, fail_text, nullptr, Count(0), user_data);
      return;
    }
    callback(r.code, Message(r.message), items, static_cast<Count>(items ? r.data->size() : 0), user_data);
  });
}

}  // namespace capi
}  // namespace morvanta
