// Watches many promises at once and reports each settled (or timed-out) one
// exactly once. The scan reads Promise::State() from native code; it never
// blocks and never runs the event loop itself.
#include "bridge/promise_tracker.h"

#include <exception>
#include <string>
#include <utility>
#include <vector>

#include "bridge/v8_text.h"
#include "runtime/log.h"

namespace morvanta {
namespace jsbridge {
namespace {

uint64_t TaskId(const std::shared_ptr<Task>& task) { return task ? task->id : 0; }

// The string form of a value, or `fallback` when it has none or its
// toString throws (a Symbol, for one).
std::string StringForm(v8::Isolate* isolate, v8::Local<v8::Context> context, v8::Local<v8::Value> value,
                       const char* fallback) {
  if (context.IsEmpty() || value.IsEmpty()) return fallback;
  v8::TryCatch try_catch(isolate);
  v8::Local<v8::String> text;
  if (!value->ToString(context).ToLocal(&text)) return fallback;
  return V8ToUtf8(isolate, text);
}

// The text of a caught JavaScript exception, for log lines and messages.
std::string ExceptionText(v8::Isolate* isolate, v8::Local<v8::Context> context, const v8::TryCatch& try_catch) {
  if (!try_catch.HasCaught()) return "unknown error";
  return StringForm(isolate, context, try_catch.Exception(), "unknown error");
}

}  // namespace

PromiseTracker::PromiseTracker(v8::Isolate* isolate) : isolate_(isolate) {}

// Pending entries are dropped without a callback: the owner destroys the
// tracker only when the bridge goes away.
PromiseTracker::~PromiseTracker() = default;

void PromiseTracker::Track(v8::Local<v8::Promise> promise, std::shared_ptr<Task> task,
                           std::chrono::milliseconds timeout) {
  if (promise.IsEmpty() || !task) {
    log::Error("[PromiseTracker] Ignoring a Promise without a task or handle");
    return;
  }
  log::Info("[PromiseTracker] Tracking Promise ", task->id, " (timeout ", timeout.count(), "ms)");
  Entry entry;
  entry.promise.Reset(isolate_, promise);
  entry.task = std::move(task);
  entry.started = std::chrono::steady_clock::now();
  entry.timeout = timeout;
  entries_.push_back(std::move(entry));
  ++count_;
}

int32_t PromiseTracker::GetPendingCount() const { return count_; }

std::vector<std::shared_ptr<Task>> PromiseTracker::Release() {
  std::vector<std::shared_ptr<Task>> tasks;
  tasks.reserve(entries_.size());
  for (Entry& entry : entries_) tasks.push_back(std::move(entry.task));
  entries_.clear();
  count_ = 0;
  return tasks;
}

void PromiseTracker::CheckPendingPromises(const CompletionCallback& on_complete) {
  if (entries_.empty()) return;
  v8::HandleScope handle_scope(isolate_);

  std::vector<std::pair<std::shared_ptr<Task>, JSResult<JSValue>>> finished;
  int fulfilled = 0;
  int rejected = 0;
  int timed_out = 0;

  for (auto it = entries_.begin(); it != entries_.end();) {
    const uint64_t id = TaskId(it->task);
    bool done = false;
    JSResult<JSValue> result;
    try {
      v8::Local<v8::Promise> promise = it->promise.Get(isolate_);
      switch (promise->State()) {
        case v8::Promise::kFulfilled:
          ++fulfilled;
          done = true;
          try {
            result = JSResult<JSValue>::Success(ExtractValue(promise->Result()));
            log::Info("[PromiseTracker] Promise ", id, " fulfilled");
          } catch (const std::exception& e) {
            log::Error("[PromiseTracker] Exception extracting fulfilled Promise ", id, ": ", e.what());
            result = JSResult<JSValue>::Failure(MakeError(std::string("Failed to extract Promise result: ") + e.what()));
          }
          break;
        case v8::Promise::kRejected:
          ++rejected;
          done = true;
          try {
            JSError error = ExtractError(promise->Result());
            log::Info("[PromiseTracker] Promise ", id, " rejected: ", error.message);
            result = JSResult<JSValue>::Failure(std::move(error));
          } catch (const std::exception& e) {
            log::Error("[PromiseTracker] Exception extracting rejected Promise ", id, ": ", e.what());
            result = JSResult<JSValue>::Failure(MakeError(std::string("Failed to extract Promise error: ") + e.what()));
          }
          break;
        case v8::Promise::kPending: {
          const auto elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(
              std::chrono::steady_clock::now() - it->started);
          if (elapsed > it->timeout) {
            ++timed_out;
            done = true;
            log::Info("[PromiseTracker] Promise ", id, " timed out after ", elapsed.count());
            result = JSResult<JSValue>::Failure(MakeError("Promise timed out after " + std::to_string(elapsed.count())));
          }
          break;
        }
        default:
          done = true;
          result = JSResult<JSValue>::Failure(MakeError("Unknown Promise state"));
          break;
      }
    } catch (const std::exception& e) {
      // The entry is finished anyway, so that its task still gets one answer.
      log::Error("[PromiseTracker] Exception checking promise: ", e.what());
      done = true;
      result = JSResult<JSValue>::Failure(MakeError(std::string("Exception checking promise: ") + e.what()));
    }
    if (done) {
      finished.emplace_back(it->task, std::move(result));
      it = entries_.erase(it);
      --count_;
    } else {
      ++it;
    }
  }

  if (finished.empty()) return;

  // Callbacks run after the scan, when the list is consistent again: one of
  // them may well track a new promise.
  for (auto& [task, result] : finished) {
    try {
      if (on_complete) on_complete(task, result);
    } catch (const std::exception& e) {
      log::Error("[PromiseTracker] Exception invoking callback for Promise ", TaskId(task), ": ", e.what());
    } catch (...) {
      log::Error("[PromiseTracker] Exception invoking callback for Promise ", TaskId(task), ": unknown exception");
    }
  }
  log::Info("[PromiseTracker] Processed ", finished.size(), " promises: ", fulfilled, " fulfilled, ", rejected,
            " rejected, ", timed_out, " timed out");
}

JSValue PromiseTracker::ExtractValue(v8::Local<v8::Value> value) {
  try {
    JSValue out;
    if (value.IsEmpty() || value->IsUndefined()) return out;
    if (value->IsNull()) return JSValue(JSValueType::Null);
    if (value->IsBoolean()) return JSValue(value->BooleanValue(isolate_));
    if (value->IsNumber()) return JSValue(value.As<v8::Number>()->Value());
    if (value->IsString()) return JSValue(V8ToUtf8(isolate_, value));

    v8::Local<v8::Context> context = isolate_->GetCurrentContext();
    if (value->IsPromise()) {
      v8::Local<v8::Promise> promise = value.As<v8::Promise>();
      log::Info("[PromiseTracker] Promise state: ", static_cast<int>(promise->State()),
                " (0=pending, 1=fulfilled, 2=rejected)");
      switch (promise->State()) {
        case v8::Promise::kFulfilled:
          log::Info("[PromiseTracker] Promise already resolved, processing result...");
          return ExtractValue(promise->Result());
        case v8::Promise::kRejected: {
          std::string text = StringForm(isolate_, context, promise->Result(), "");
          if (text.empty()) text = "unknown error";
          log::Info("[PromiseTracker] Promise rejected with: ", text);
          return JSValue("PROMISE_REJECTED: " + text);
        }
        default:
          log::Error("[PromiseTracker] ERROR: PromiseTracker should not receive pending Promises!");
          return JSValue(std::string("ERROR_PENDING_PROMISE_IN_PROMISE_TRACKER"));
      }
    }

    if (value->IsObject()) {
      log::Info("[PromiseTracker] Processing object type...");
      if (!context.IsEmpty()) {
        // JSON.stringify throws on cycles and BigInts, and gives undefined
        // for a function; all of these take the string form below.
        v8::TryCatch try_catch(isolate_);
        v8::Local<v8::Value> json;
        v8::Local<v8::Value> stringify;
        v8::Local<v8::Value> text;
        if (context->Global()->Get(context, V8String(isolate_, "JSON")).ToLocal(&json) && json->IsObject() &&
            json.As<v8::Object>()->Get(context, V8String(isolate_, "stringify")).ToLocal(&stringify) &&
            stringify->IsFunction() &&
            stringify.As<v8::Function>()->Call(context, json, 1, &value).ToLocal(&text) && text->IsString()) {
          std::string serialized = V8ToUtf8(isolate_, text);
          log::Info("[PromiseTracker] Object converted to JSON: ", serialized);
          return JSValue(std::move(serialized));
        }
      }
      std::string shown = StringForm(isolate_, context, value, "[object Object]");
      log::Info("[PromiseTracker] Object JSON conversion failed, using string representation: \"", shown, "\"");
      return JSValue(std::move(shown));
    }

    std::string shown = StringForm(isolate_, context, value, "[Unknown]");
    log::Info("[PromiseTracker] Converting unknown type to string: \"", shown, "\"");
    return JSValue(std::move(shown));
  } catch (const std::exception& e) {
    log::Error("[PromiseTracker] Exception extracting Promise result: ", e.what());
  }
  return JSValue(JSValueType::Undefined);
}

JSError PromiseTracker::ExtractError(v8::Local<v8::Value> reason) {
  JSError error = MakeError("Promise rejected");
  try {
    if (reason.IsEmpty()) return error;
    v8::Local<v8::Context> context = isolate_->GetCurrentContext();
    if (reason->IsObject()) {
      if (context.IsEmpty()) return error;
      v8::Local<v8::Object> object = reason.As<v8::Object>();
      v8::TryCatch try_catch(isolate_);
      v8::Local<v8::Value> message;
      v8::Local<v8::Value> stack;
      if (!object->Get(context, V8String(isolate_, "message")).ToLocal(&message) ||
          !object->Get(context, V8String(isolate_, "stack")).ToLocal(&stack)) {
        // A throwing getter or proxy trap on the reason itself.
        const std::string text = ExceptionText(isolate_, context, try_catch);
        log::Error("[PromiseTracker] Exception extracting Promise error: ", text);
        error.message = "Failed to extract Promise error: " + text;
        return error;
      }
      if (message->IsString() && message.As<v8::String>()->Length() > 0) {
        error.message = V8ToUtf8(isolate_, message);
      }
      if (stack->IsString()) error.stack = V8ToUtf8(isolate_, stack);
    }
    // Any other reason (a bare string included) keeps the default message.
  } catch (const std::exception& e) {
    log::Error("[PromiseTracker] Exception extracting Promise error: ", e.what());
    error.message = std::string("Failed to extract Promise error: ") + e.what();
  }
  return error;
}

}  // namespace jsbridge
}  // namespace morvanta
