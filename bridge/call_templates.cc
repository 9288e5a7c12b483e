#include "bridge/call_templates.h"

#include "bridge/script_writer.h"
#include "bridge/v8_text.h"

namespace morvanta {
namespace jsbridge {
namespace {

constexpr char kArgumentName[] = "__morvantaArg";

bool IsNameStart(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c == '$'; }
bool IsNamePart(char c) { return IsNameStart(c) || (c >= '0' && c <= '9'); }

// The value the argument's literal makes; only for HasPlainLiteral values.
v8::Local<v8::Value> LiteralValue(v8::Isolate* isolate, v8::Local<v8::Context> context, const JSValue& value) {
  switch (value.type) {
    case JSValueType::Null:
    case JSValueType::Function: return v8::Null(isolate);
    case JSValueType::Boolean: return v8::Boolean::New(isolate, value.bool_value);
    case JSValueType::Number: return v8::Number::New(isolate, LiteralNumberValue(value.number_value));
    case JSValueType::String: return V8String(isolate, WellFormedUtf8(value.string_value));
    case JSValueType::Object: {
      v8::Local<v8::Object> object = v8::Object::New(isolate);
      for (const auto& [key, member] : value.object_value) {
        if (object->CreateDataProperty(context, V8String(isolate, WellFormedUtf8(key)),
                                       LiteralValue(isolate, context, member))
                .IsNothing())
          return {};
      }
      return object;
    }
    case JSValueType::Array: {
      std::vector<v8::Local<v8::Value>> elements;
      elements.reserve(value.array_value.size());
      for (const JSValue& element : value.array_value) {
        v8::Local<v8::Value> made = LiteralValue(isolate, context, element);
        if (made.IsEmpty()) return {};
        elements.push_back(made);
      }
      return v8::Array::New(isolate, elements.data(), elements.size());
    }
    default: return v8::Undefined(isolate);
  }
}

}  // namespace

CallTemplates::~CallTemplates() {
  // Handles of an isolate that may be gone are let go without touching it.
  if (isolate_) {
    owner_.Empty();
    for (auto& entry : templates_) entry.second.Empty();
  }
}

void CallTemplates::Clear() {
  owner_.Reset();
  templates_.clear();
  isolate_ = nullptr;
}

bool CallTemplates::IsPlainPath(const std::string& path) {
  size_t i = 0;
  const size_t n = path.size();
  while (true) {
    const size_t start = i;
    if (i >= n || !IsNameStart(path[i])) return false;
    while (i < n && IsNamePart(path[i])) ++i;
    const std::string name(path, start, i - start);
    // Names the template would read differently from the script: its own
    // parameters, and the function's arguments object.
    if (name == "arguments" || name.compare(0, sizeof(kArgumentName) - 1, kArgumentName) == 0) return false;
    if (i + 1 < n && path[i] == '(' && path[i + 1] == ')') i += 2;
    if (i == n) return true;
    if (path[i] != '.') return false;
    ++i;
  }
}

bool CallTemplates::HasPlainLiteral(const JSValue& value) {
  switch (value.type) {
    case JSValueType::Buffer: return false;
    case JSValueType::Object:
      for (const auto& [key, member] : value.object_value)
        if (!HasPlainLiteral(member)) return false;
      return true;
    case JSValueType::Array:
      for (const JSValue& element : value.array_value)
        if (!HasPlainLiteral(element)) return false;
      return true;
    default: return true;
  }
}

v8::MaybeLocal<v8::Function> CallTemplates::Template(v8::Local<v8::Context> context, const std::string& path,
                                                     size_t argc) {
  v8::Isolate* isolate = context->GetIsolate();
  if (isolate_ && isolate_ != isolate) return {};
  if (owner_.IsEmpty() || !(owner_ == context)) {
    // First use, or a context other than the one the templates were made for.
    Clear();
    isolate_ = isolate;
    owner_.Reset(isolate, context);
  }
  std::string key = path;
  key += '/';
  key += std::to_string(argc);
  auto found = templates_.find(key);
  if (found != templates_.end()) return found->second.Get(isolate);
  if (templates_.size() >= kMaxTemplates || !IsPlainPath(path)) return {};

  std::string parameters;
  for (size_t i = 0; i < argc; ++i) {
    if (i) parameters += ", ";
    parameters += kArgumentName + std::to_string(i);
  }
  const std::string text = "(function (" + parameters + ") {\nreturn " + path + "(" + parameters + ");\n})";
  // A template that does not compile leaves no trace: the call runs from its
  // text, which reports the error as it always has.
  v8::TryCatch quiet(isolate);
  v8::Local<v8::Script> script;
  v8::Local<v8::Value> made;
  if (!v8::Script::Compile(context, V8String(isolate, text)).ToLocal(&script) ||
      !script->Run(context).ToLocal(&made) || !made->IsFunction())
    return {};
  ++compiles_;
  v8::Local<v8::Function> function = made.As<v8::Function>();
  templates_.emplace(std::move(key), v8::Global<v8::Function>(isolate, function));
  return function;
}

bool CallTemplates::Run(v8::Local<v8::Context> context, const std::string& path, const std::vector<JSValue>& args,
                        v8::MaybeLocal<v8::Value>* result) {
  for (const JSValue& arg : args)
    if (!HasPlainLiteral(arg)) return false;
  v8::Local<v8::Function> function;
  if (!Template(context, path, args.size()).ToLocal(&function)) return false;
  v8::Isolate* isolate = context->GetIsolate();
  std::vector<v8::Local<v8::Value>> argv;
  argv.reserve(args.size());
  for (const JSValue& arg : args) {
    v8::Local<v8::Value> value = LiteralValue(isolate, context, arg);
    if (value.IsEmpty()) return false;
    argv.push_back(value);
  }
  *result = function->Call(context, v8::Undefined(isolate), static_cast<int>(argv.size()), argv.data());
  return true;
}

}  // namespace jsbridge
}  // namespace morvanta
