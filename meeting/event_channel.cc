#include "meeting/event_channel.h"


namespace morvanta {

JSValue ParseChannelJson(const char* tag, const std::string& text) {
  try {
    JSValue value;
    std::string error;
    size_t offset = 0;
    // One record nested too deep must not cost the batch its other records.
    if (!TryParseJsonCuttingDeepValues(text, value, &error, &offset)) {
      log::Error(tag, " ❌ JSON parse error: ", error, " at offset ", offset);
      return JSValue();
    }
    return value;
  } catch (...) {
    log::Error(tag, " Exception in ParseJSONString");
    return JSValue();
  }
}

bool RunChannelScript(const std::shared_ptr<JSBridgeAdapter>& bridge, const std::string& script,
                      std::chrono::milliseconds limit, JSResult* out) {
  if (!bridge || !bridge->IsInitialized()) return false;
  struct Shared {
    std::mutex mutex;
    std::condition_variable cv;
    bool done = false;
    JSResult result;
  };
  auto shared = std::make_shared<Shared>();
  bridge->ExecuteJS(script, [shared](const JSResult& r) {
    std::lock_guard<std::mutex> lock(shared->mutex);
    shared->result = r;
    shared->done = true;
    shared->cv.notify_all();
  });
  std::unique_lock<std::mutex> lock(shared->mutex);
  if (!shared->cv.wait_for(lock, limit, [&] { return shared->done; })) return false;
  if (out) *out = shared->result;
  return true;
}

JSValue ScriptValue(const JSResult& result) {
  // A script's object answer arrives as JSON text (the synchronous path).
  if (result.value.IsString()) return ParseJsonToJSValue(result.value.stringValue);
  return result.value;
}

bool ScriptSucceeded(const JSResult& result, std::string* error) {
  if (!result.success) {
    if (error) *error = result.error;
    return false;
  }
  const JSValue value = ScriptValue(result);
  const JSValue* ok = value.Find("success");
  if (ok && ok->IsBool() && ok->boolValue) return true;
  if (error) {
    const JSValue* text = value.Find("error");
    *error = text && text->IsString() ? text->stringValue : "unknown error";
  }
  return false;
}

void RegisterChannelScripts(const std::weak_ptr<JSBridgeAdapter>& bridge, const std::string& arrayInit,
                            const std::string& registerScript, const char* arrayInitFailed,
                            std::function<void(bool ok, const std::string& error)> registered) {
  auto ready = [](const std::weak_ptr<JSBridgeAdapter>& weak) {
    auto b = weak.lock();
    return b && b->IsInitialized() ? b : nullptr;
  };
  auto b = ready(bridge);
  if (!b) return;
  b->ExecuteJS(arrayInit, [bridge, ready, registerScript, arrayInitFailed,
                           registered = std::move(registered)](const JSResult& init) {
    if (!ScriptSucceeded(init, nullptr)) {
      log::Error(arrayInitFailed);
      return;
    }
    auto b2 = ready(bridge);
    if (!b2) return;
    b2->ExecuteJS(registerScript, [registered](const JSResult& reg) {
      std::string error;
      bool ok = ScriptSucceeded(reg, &error);
      registered(ok, error);
    });
  });
}

}  // namespace morvanta
