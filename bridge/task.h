// One unit of work for the worker, shared between submitter and worker.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "bridge/js_value.h"

namespace morvanta {
namespace jsbridge {

enum class TaskType : int32_t {
  ExecuteCode = 0,
  CallFunction = 1,
  LoadModule = 2,
  GetGlobal = 3,
  SetGlobal = 4,
};

struct Task {
  TaskType type = TaskType::ExecuteCode;
  uint64_t id = NextId();
  std::chrono::steady_clock::time_point created_at = std::chrono::steady_clock::now();
  int64_t timeout_ms = 30000;  // kept for the record; the promise wait has its own limit

  std::string code;           // ExecuteCode
  std::string function_name;  // CallFunction
  std::string module_path;    // LoadModule
  std::string global_name;    // GetGlobal, SetGlobal
  std::vector<JSValue> args;  // CallFunction; an ExecuteCode call's arguments
  // ExecuteCode made from a call "call_path(args...)": `code` is its text,
  // and the worker may run it through a call template instead of compiling it.
  std::string call_path;
  JSValue global_value;       // SetGlobal

  ValueCallback js_callback;
  VoidCallback void_callback;
  std::atomic<bool> callback_invoked{false};  // guards against double delivery

 private:
  static uint64_t NextId() {
    static std::atomic<uint64_t> counter{0};
    return ++counter;
  }
};

}  // namespace jsbridge
}  // namespace morvanta
