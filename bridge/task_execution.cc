// What the worker does with one task, inside the lock, isolate, handle and
// context scopes that the worker loop has opened.
#include <exception>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "bridge/js_bridge_impl.h"
#include "bridge/promise_awaiter.h"
#include "bridge/type_converter.h"
#include "bridge/v8_text.h"
#include "runtime/log.h"

namespace morvanta {
namespace jsbridge {
namespace {

constexpr char kPromiseSentinel[] = "__PROMISE_HANDLED_ASYNC__";

JSResult<JSValue> Fail(std::string text) { return JSResult<JSValue>::Failure(MakeError(std::move(text))); }

bool HasGlobal(v8::Local<v8::Context> context, const char* name) {
  v8::Isolate* isolate = context->GetIsolate();
  v8::Local<v8::Value> value;
  return context->Global()->Get(context, V8String(isolate, name)).ToLocal(&value) &&
         !value->IsUndefined();
}

// Compiles and runs a script; an empty result means it failed (the
// surrounding TryCatch holds the reason).
v8::MaybeLocal<v8::Value> CompileAndRun(v8::Local<v8::Context> context, const std::string& text,
                                        bool* compiled) {
  v8::Isolate* isolate = context->GetIsolate();
  v8::Local<v8::String> source;
  v8::Local<v8::Script> script;
  *compiled = V8StringFromUtf8(isolate, text).ToLocal(&source) &&
              v8::Script::Compile(context, source).ToLocal(&script);
  if (!*compiled) return {};
  return script->Run(context);
}

}  // namespace

void JSBridgeImpl::ProcessSingleTask(const std::shared_ptr<Task>& task, v8::Local<v8::Context> context,
                                     v8::Isolate* isolate) {
  if (!task) return;
  log::FlushStdout();  // the task's JavaScript may write to the console
  try {
    if (context.IsEmpty() || !isolate) {
      InvokeCallback(task, Fail("Invalid parameters for task processing"));
      return;
    }
    v8::TryCatch try_catch(isolate);
    JSResult<JSValue> result;
    switch (task->type) {
      case TaskType::ExecuteCode: result = ExecuteCodeTask(task, context); break;
      case TaskType::CallFunction: result = CallFunctionTask(task, context); break;
      case TaskType::LoadModule: result = LoadModuleTask(task, context); break;
      case TaskType::GetGlobal: result = GetGlobalTask(task, context); break;
      case TaskType::SetGlobal: result = SetGlobalTask(task, context); break;
      default:
        result = Fail("Unknown task type: " + std::to_string(static_cast<int32_t>(task->type)));
    }
    if (try_catch.HasCaught()) {
      JSError error = MakeError("V8 Exception");
      v8::Local<v8::Value> exception = try_catch.Exception();
      if (!exception.IsEmpty()) error.message = V8ToUtf8(isolate, exception);
      v8::Local<v8::Value> stack;
      if (!try_catch.Message().IsEmpty() && try_catch.StackTrace(context).ToLocal(&stack))
        error.stack = V8ToUtf8(isolate, stack);
      result = JSResult<JSValue>::Failure(std::move(error));
    }
    // The SDK asked to exit while this task ran: its JavaScript was
    // terminated, and the call is answered with what happened.
    if (NoticeSdkExit()) {
      InvokeCallback(task, Fail(SdkExitText()));
      return;
    }
    if (result.success && result.value && result.value->type == JSValueType::String &&
        result.value->string_value == kPromiseSentinel) {
      if (debug())
        log::Debug("[JSBridge] Promise handled asynchronously, skipping duplicate callback for task ", task->id);
      return;
    }
    InvokeCallback(task, result);
  } catch (const std::exception& e) {
    if (debug()) log::DebugError("[JSBridge] Task processing exception: ", e.what());
    InvokeCallback(task, Fail(std::string("Task processing exception: ") + e.what()));
  }
}

JSValue JSBridgeImpl::ConvertResult(v8::Local<v8::Value> value, const char* origin) {
  if (type_converter_) return type_converter_->FromV8(value);
  log::Info("[JSBridge] 🔍 SimpleFromV8 called from ", origin);
  return SimpleFromV8(value);
}

JSResult<JSValue> JSBridgeImpl::ExecuteCodeTask(const std::shared_ptr<Task>& task,
                                                v8::Local<v8::Context> context) {
  if (task->code.empty()) return Fail("Empty code string");
  if (debug()) {
    log::Debug("[JSBridge] Executing code: ", task->code.substr(0, 100),
              task->code.size() > 100 ? "..." : "");
  }
  v8::Isolate* isolate = context->GetIsolate();
  v8::MaybeLocal<v8::Value> ran;
  if (task->call_path.empty() || !call_templates_.Run(context, task->call_path, task->args, &ran)) {
    v8::Local<v8::String> source;
    v8::Local<v8::Script> script;
    if (!V8StringFromUtf8(isolate, task->code).ToLocal(&source) ||
        !v8::Script::Compile(context, source).ToLocal(&script))
      return Fail("Script compilation failed");
    script_cache_trim_.NoteCompile(task->code);
    ran = script->Run(context);
  }
  v8::Local<v8::Value> value;
  if (!ran.ToLocal(&value)) return Fail("Script execution failed");
  if (value->IsPromise()) {
    log::Info("[JSBridge] ✅ ExecuteCodeTask returned Promise, handling asynchronously");
    awaiter_->Await(value.As<v8::Promise>(), context, task);
    return JSResult<JSValue>::Success(JSValue(kPromiseSentinel));
  }
  log::Info("[JSBridge] ❌ ExecuteCodeTask result is NOT a Promise, continuing with synchronous processing");
  return JSResult<JSValue>::Success(ConvertResult(value, "ExecuteCodeTask (non-Promise)"));
}

JSResult<JSValue> JSBridgeImpl::CallFunctionTask(const std::shared_ptr<Task>& task,
                                                 v8::Local<v8::Context> context) {
  if (task->function_name.empty()) return Fail("Empty function name");
  log::Info("[JSBridge] Calling function: ", task->function_name, " with ", task->args.size(), " arguments");
  v8::Isolate* isolate = context->GetIsolate();
  v8::Local<v8::Object> global = context->Global();
  v8::Local<v8::Value> target;
  // The whole name is one property key: no splitting at dots.
  if (!global->Get(context, V8String(isolate, task->function_name)).ToLocal(&target))
    return Fail("Failed to get function: " + task->function_name);
  if (!target->IsFunction()) return Fail("Not a function: " + task->function_name);
  std::vector<v8::Local<v8::Value>> argv;
  for (const JSValue& arg : task->args) argv.push_back(SimpleToV8(arg));
  v8::Local<v8::Value> value;
  if (!target.As<v8::Function>()
           ->Call(context, global, static_cast<int>(argv.size()), argv.data())
           .ToLocal(&value))
    return Fail("Function call failed: " + task->function_name);
  log::Info("[JSBridge] 🔍 Result type analysis for ", task->function_name, ": IsPromise=",
            value->IsPromise(), " IsObject=", value->IsObject());
  if (value->IsPromise()) {
    log::Info("[JSBridge] ✅ Function returned Promise, handling asynchronously");
    awaiter_->Await(value.As<v8::Promise>(), context, task);
    return JSResult<JSValue>::Success(JSValue(kPromiseSentinel));
  }
  if (value->IsObject()) {
    v8::Local<v8::String> text;
    std::string shown = value->ToString(context).ToLocal(&text) ? V8ToUtf8(isolate, text) : "null";
    log::Info("[JSBridge] 🔍 Object string representation: \"", shown, "\"");
  }
  return JSResult<JSValue>::Success(ConvertResult(value, "CallFunctionTask (after Promise check)"));
}

JSResult<JSValue> JSBridgeImpl::GetGlobalTask(const std::shared_ptr<Task>& task,
                                              v8::Local<v8::Context> context) {
  if (task->global_name.empty()) return Fail("Empty global name");
  log::Info("[JSBridge] Getting global: ", task->global_name);
  v8::Local<v8::Value> value;
  if (!context->Global()->Get(context, V8String(context->GetIsolate(), task->global_name)).ToLocal(&value))
    return Fail("Failed to get global: " + task->global_name);
  return JSResult<JSValue>::Success(ConvertResult(value, "GetGlobalTask"));
}

JSResult<JSValue> JSBridgeImpl::SetGlobalTask(const std::shared_ptr<Task>& task,
                                              v8::Local<v8::Context> context) {
  if (task->global_name.empty()) return Fail("Empty global name");
  log::Info("[JSBridge] Setting global: ", task->global_name);
  v8::Local<v8::Value> value = SimpleToV8(task->global_value);
  bool set = false;
  if (!context->Global()
           ->Set(context, V8String(context->GetIsolate(), task->global_name), value)
           .To(&set) ||
      !set)
    return Fail("Failed to set global: " + task->global_name);
  return JSResult<JSValue>::Success(JSValue());
}

JSResult<JSValue> JSBridgeImpl::LoadModuleTask(const std::shared_ptr<Task>& task,
                                               v8::Local<v8::Context> context) {
  if (task->module_path.empty()) return Fail("Empty module path");
  const std::string& path = task->module_path;
  log::Info("[JSBridge] 🔍 Loading module: ", path);
  log::Info("[JSBridge] Current working directory: ", std::filesystem::current_path().string());
  const bool had_sdk = HasGlobal(context, "MorvantaSDK");
  const bool had_meeting = HasGlobal(context, "morVantaMeeting");
  log::Info("[JSBridge] Pre-load global state:");
  log::Info("  - MorvantaSDK exists: ", had_sdk ? "YES" : "NO");
  log::Info("  - morVantaMeeting exists: ", had_meeting ? "YES" : "NO");

  std::string file_path = path.rfind("./", 0) == 0 ? path.substr(2) : path;
  std::ifstream file(file_path, std::ios::binary);
  bool compiled = false;
  v8::Local<v8::Value> value;
  if (!file) {
    log::Info("[JSBridge] Cannot open file directly: ", path);
    log::Info("[JSBridge] Trying require() method...");
    if (!CompileAndRun(context, "require('" + path + "')", &compiled).ToLocal(&value))
      return Fail((compiled ? "Module loading failed: " : "Module compilation failed: ") + path);
    return JSResult<JSValue>::Success(ConvertResult(value, "LoadModuleTask"));
  }
  std::stringstream content;
  content << file.rdbuf();
  const std::string text = content.str();
  log::Info("[JSBridge] File loaded successfully, size: ", text.size(), " bytes");
  if (!CompileAndRun(context, text, &compiled).ToLocal(&value))
    return Fail((compiled ? "Script execution failed: " : "Script compilation failed: ") + path);
  log::Info("[JSBridge] ✅ Script executed successfully: ", path);
  const bool has_sdk = HasGlobal(context, "MorvantaSDK");
  const bool has_meeting = HasGlobal(context, "morVantaMeeting");
  log::Info("[JSBridge] Post-load global state:");
  log::Info("  - MorvantaSDK exists: ", has_sdk ? "YES" : "NO");
  log::Info("  - morVantaMeeting exists: ", has_meeting ? "YES" : "NO");
  if (has_sdk && !had_sdk) log::Info("[JSBridge] ✅ MorvantaSDK was created by this module");
  if (has_meeting && !had_meeting) log::Info("[JSBridge] ✅ morVantaMeeting was created by this module");
  return JSResult<JSValue>::Success(ConvertResult(value, "LoadModuleTask"));
}

}  // namespace jsbridge
}  // namespace morvanta
