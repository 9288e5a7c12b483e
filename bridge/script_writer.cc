#include "bridge/script_writer.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "runtime/log.h"

namespace morvanta {
namespace jsbridge {
namespace {

constexpr char kProtoKey[] = "__proto__";

// Length of the well-formed UTF-8 sequence that starts at text[i] (1 to 4),
// or 0 when the bytes there are not one: a stray continuation byte, an
// overlong form, a surrogate, a value above U+10FFFF or a cut-off sequence.
size_t Utf8SequenceLength(const std::string& text, size_t i) {
  const auto byte = [&](size_t k) { return static_cast<unsigned char>(text[k]); };
  const unsigned char lead = byte(i);
  if (lead < 0x80) return 1;
  size_t length = 0;
  unsigned char low = 0x80, high = 0xBF;  // range of the second byte
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    if (lead == 0xE0) low = 0xA0;
    if (lead == 0xED) high = 0x9F;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    if (lead == 0xF0) low = 0x90;
    if (lead == 0xF4) high = 0x8F;
  } else {
    return 0;
  }
  if (i + length > text.size()) return 0;
  if (byte(i + 1) < low || byte(i + 1) > high) return 0;
  for (size_t k = 2; k < length; ++k)
    if (byte(i + k) < 0x80 || byte(i + k) > 0xBF) return 0;
  return length;
}

// Appends the character of `text` that starts at `i`: a whole UTF-8
// sequence, U+FFFD for a bad byte, or an ASCII character through `plain`.
// Returns the index of the character's last byte.
template <typename Plain>
size_t AppendCharacter(std::string& out, const std::string& text, size_t i, Plain plain) {
  const char c = text[i];
  if (static_cast<unsigned char>(c) < 0x80) {
    plain(out, c);
    return i;
  }
  // Text that is not UTF-8 would be read by V8 in its own way; it is
  // replaced here, one U+FFFD per bad byte, so the script says exactly what
  // it shows.
  const size_t length = Utf8SequenceLength(text, i);
  if (length == 0) {
    out += "\xEF\xBF\xBD";
    return i;
  }
  out.append(text, i, length);
  return i + length - 1;
}

void AppendQuoted(std::string& out, const std::string& text) {
  out += '"';
  for (size_t i = 0; i < text.size(); ++i) {
    i = AppendCharacter(out, text, i, [](std::string& o, char c) {
      switch (c) {
        case '"': o += "\\\""; break;
        case '\\': o += "\\\\"; break;
        case '\b': o += "\\b"; break;
        case '\f': o += "\\f"; break;
        case '\n': o += "\\n"; break;
        case '\r': o += "\\r"; break;
        case '\t': o += "\\t"; break;
        default: o += c;
      }
    });
  }
  out += '"';
}

void Append(std::string& out, const JSValue& value) {
  switch (value.type) {
    case JSValueType::Undefined: out += "undefined"; break;
    case JSValueType::Null: out += "null"; break;
    case JSValueType::Boolean: out += value.bool_value ? "true" : "false"; break;
    case JSValueType::Number: {
      // "%f" would write inf or nan, which a script reads as global names;
      // these expressions make the value itself and read nothing.
      if (std::isnan(value.number_value)) {
        out += "(0/0)";
        break;
      }
      if (std::isinf(value.number_value)) {
        out += value.number_value > 0 ? "(1/0)" : "(-1/0)";
        break;
      }
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
        // A literal "__proto__" key would set the object's prototype; the
        // computed form makes it an own member like every other key.
        if (key == kProtoKey) out += '[';
        AppendQuoted(out, key);
        if (key == kProtoKey) out += ']';
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

std::string WellFormedUtf8(const std::string& text) {
  size_t i = 0;
  while (i < text.size() && static_cast<unsigned char>(text[i]) < 0x80) ++i;
  if (i == text.size()) return text;
  std::string out(text, 0, i);
  for (; i < text.size(); ++i) i = AppendCharacter(out, text, i, [](std::string& o, char c) { o += c; });
  return out;
}

double LiteralNumberValue(double value) {
  // Whole numbers below 2^53 print exactly, with six zero decimals; NaN and
  // the infinities are written as expressions that make them exactly.
  if (!std::isfinite(value)) return value;
  if (value == std::trunc(value) && std::fabs(value) < 9007199254740992.0) return value;
  char buf[400];
  std::snprintf(buf, sizeof(buf), "%f", value);
  return std::strtod(buf, nullptr);
}

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
