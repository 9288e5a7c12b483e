// The dispatch of one drained {type, data} record: check the record's frame,
// find the handler of its type in the channel's table and run it. Channels
// differ in what they log for a bad frame, which stands in their texts.
#pragma once

#include <exception>
#include <string>
#include <vector>

#include "bridge/product_value.h"
#include "runtime/log.h"

namespace morvanta {

// Lines of a channel's dispatch; a null line means the case is silent.
struct EventFrameTexts {
  const char* tag;          // "[MeetingManager]"
  const char* notObject;    // record is no object; followed by its kind number
  const char* badType;      // `type` missing or not a string
  const char* processing;   // before the lookup, followed by the type
  const char* missingData;  // null: a missing `data` reads as undefined
  const char* unknownType;  // followed by the type
  const char* handlerError; // a handler without its own error name threw
};

template <typename Listener>
struct EventHandler {
  using Listeners = std::vector<Listener*>;
  const char* type;
  const char* errorName;  // "<tag> ❌ Error processing <errorName>: ", or null
  void (*handle)(const JSValue& data, const Listeners& listeners);
};

// Calls each non-null listener in order.
template <typename Listener, typename Call>
void ForEachListener(const std::vector<Listener*>& listeners, Call&& call) {
  for (Listener* l : listeners)
    if (l) call(*l);
}

template <typename Listener>
void DispatchByType(const JSValue& record, const std::vector<Listener*>& listeners, const EventFrameTexts& t,
                    const std::vector<EventHandler<Listener>>& handlers) {
  if (listeners.empty()) return;
  if (!record.IsObject()) {
    if (t.notObject) log::Error(t.notObject, static_cast<int>(record.type));
    return;
  }
  const JSValue* type = record.Find("type");
  if (!type || !type->IsString()) {
    if (t.badType) log::Error(t.badType);
    return;
  }
  if (t.processing) log::Info(t.processing, type->stringValue);
  const JSValue* found = record.Find("data");
  if (!found && t.missingData) {
    log::Error(t.missingData);
    return;
  }
  const JSValue data = found ? *found : JSValue();
  for (const EventHandler<Listener>& h : handlers) {
    if (type->stringValue != h.type) continue;
    try {
      h.handle(data, listeners);
    } catch (const std::exception& e) {
      if (h.errorName)
        log::Error(t.tag, " ❌ Error processing ", h.errorName, ": ", e.what());
      else
        log::Error(t.handlerError, e.what());
    }
    return;
  }
  if (t.unknownType) log::Info(t.unknownType, type->stringValue);
}

}  // namespace morvanta
