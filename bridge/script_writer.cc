#include "bridge/script_writer.h"

#include <cstdio>

#include "runtime/log.h"

namespace morvanta {
namespace jsbridge {
namespace {

void AppendQuoted(std::string& out, const std::string& text) {
  out += '"';
  for (char c : text) {
    switch (c) {
      case '"': out += "\\\""; break;
      case '\\': out += "\\\\"; break;
      case '\b': out += "\\b"; break;
      case '\f': out += "\\f"; break;
      case '\n': out += "\\n"; break;
      case '\r': out += "\\r"; break;
      case '\t': out += "\\t"; break;
      default: out += c;
    }
  }
  out += '"';
}

void Append(std::string& out, const JSValue& value) {
  switch (value.type) {
    case JSValueType::Undefined: out += "undefined"; break;
    case JSValueType::Null: out += "null"; break;
    case JSValueType::Boolean: out += value.bool_value ? "true" : "false"; break;
    case JSValueType::Number: {
      char buf[400];
      int n = std::snprintf(buf, sizeof(buf), "%f", value.number_value);
      out.append(buf, n > 0 ? std::min<size_t>(static_cast<size_t>(n), sizeof(buf) - 1) : 0);
      break;
    }
    case JSValueType::String: AppendQuoted(out, value.string_value); break;
    case JSValueType::Object: {
      out += '{';
      bool first = true;
      for (const auto& [key, member] : value.object_value) {
        if (!first) out += ", ";
        first = false;
        AppendQuoted(out, key);
        out += ": ";
        Append(out, member);
      }
      out += '}';
      break;
    }
    case JSValueType::Array: {
      out += '[';
      for (size_t i = 0; i < value.array_value.size(); ++i) {
        if (i) out += ", ";
        Append(out, value.array_value[i]);
      }
      out += ']';
      break;
    }
    case JSValueType::Function:
      log::Error("[JSBridgeAdapter] Warning: Cannot serialize Function type, using null");
      out += "null";
      break;
    case JSValueType::Buffer: {
      out += "Buffer.from([";
      const JSBuffer& b = value.buffer_value;
      for (uint64_t i = 0; b.data && i < b.size; ++i) {
        if (i) out += ',';
        out += std::to_string(static_cast<unsigned>(b.data[i]));
      }
      out += "])";
      break;
    }
    default: out += "undefined"; break;
  }
}

}  // namespace

std::string ToJavaScriptSource(const JSValue& value) {
  std::string out;
  Append(out, value);
  return out;
}

std::string BuildCallScript(const std::string& path, const std::vector<JSValue>& args) {
  std::string script = path;
  script += '(';
  for (size_t i = 0; i < args.size(); ++i) {
    if (i) script += ", ";
    Append(script, args[i]);
  }
  script += ')';
  return script;
}

}  // namespace jsbridge
}  // namespace morvanta
