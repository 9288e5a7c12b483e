// Arbitrary host values as the arguments of an SDK call, through the call
// path the managers use (JSBridgeAdapter::CallFunction: a call template, or
// the call's text where the template declines) and through an exported
// function that takes a host string. A probe stands in for the SDK method:
// it describes exactly what it received (kinds, number bits, UTF-16 code
// units, own keys, prototypes), and the description must equal the one made
// here from what the host passed, after the library's one documented change
// (bytes that are not well-formed UTF-8 become U+FFFD, one per byte; numbers
// go through their six-decimal text).
//
// And no other JavaScript may run, however a string or key is made: the
// probe is called exactly once per call, no global appears, and canaries
// that injected code would reach (a function, and getters on names such as
// the text of a non-finite number) count every touch.
//
// Input: byte 0 picks the way (0: template-shaped path, 1: a path only the
// text can call, 2: Morvanta_Account_UpdateNickname), the rest describes the
// arguments (see Reader).
#include <cmath>
#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "bridge/js_value.h"
#include "bridge/script_writer.h"
#include "fuzz/fuzz_library.h"

namespace {

using namespace morvanta;

constexpr char kTarget[] = "call_args";

// The probe, and the canaries around it.
constexpr char kProbe[] = R"JS((function () {
  var bits = new DataView(new ArrayBuffer(8));
  function hex(n, width) { var t = n.toString(16); while (t.length < width) t = '0' + t; return t; }
  function text(s) { var out = 's'; for (var i = 0; i < s.length; i++) out += hex(s.charCodeAt(i), 4); return out + ';'; }
  function describe(v) {
    if (v === undefined) return 'u';
    if (v === null) return 'n';
    switch (typeof v) {
      case 'boolean': return v ? 'b1' : 'b0';
      case 'number':
        if (v !== v) return 'dNaN';
        bits.setFloat64(0, v);
        return 'd' + hex(bits.getUint32(0), 8) + hex(bits.getUint32(4), 8);
      case 'string': return text(v);
      case 'object': break;
      default: return '?' + typeof v;
    }
    if (Buffer.isBuffer(v)) {
      var b = 'B';
      for (var j = 0; j < v.length; j++) b += hex(v[j], 2);
      return b + ';';
    }
    var keys = Reflect.ownKeys(v);
    if (Array.isArray(v)) {
      if (Object.getPrototypeOf(v) !== Array.prototype) return '?array prototype';
      if (keys.length !== v.length + 1) return '?array keys';
      var items = [];
      for (var k = 0; k < v.length; k++) {
        if (!Object.prototype.hasOwnProperty.call(v, k)) return '?hole';
        items.push(describe(v[k]));
      }
      return '[' + items.join(',') + ']';
    }
    if (Object.getPrototypeOf(v) !== Object.prototype) return '?prototype';
    var members = [];
    keys.sort();
    for (var m = 0; m < keys.length; m++) {
      if (typeof keys[m] !== 'string') return '?symbol key';
      var d = Object.getOwnPropertyDescriptor(v, keys[m]);
      if (!('value' in d) || !d.enumerable || !d.writable || !d.configurable) return '?property';
      members.push(text(keys[m]) + ':' + describe(d.value));
    }
    return '{' + members.join(',') + '}';
  }
  var canary = 0;
  var touch = function () { canary++; };
  ['inf', 'nan', 'evil'].forEach(function (name) {
    Object.defineProperty(globalThis, name, { get: function () { canary++; return touch; }, configurable: true });
  });
  globalThis.__fuzzCanary = touch;
  var globals = Object.getOwnPropertyNames(globalThis).length + 1;  // the probe itself
  var calls = 0;
  function record(args) {
    calls++;
    var now = Object.getOwnPropertyNames(globalThis).length;
    return canary + '|' + (now === globals ? '' : 'globals ' + globals + ' -> ' + now) + '|' + calls + '|' +
        args.length + '|' + Array.prototype.map.call(args, describe).join(' ');
  }
  globalThis.__fuzzProbe = { record: function () { return record(arguments); } };
  // The account manager's method answers with the description as a failure
  // text, which the C callback receives as its message.
  var account = morVantaMeeting.getAccountManager();
  account.updateNickname = function () { return Promise.resolve({ code: 1, message: record(arguments) }); };
  return 'installed';
})())JS";

// ---- what the probe must say ----

void AppendHex(std::string& out, uint64_t value, int width) {
  static const char kDigits[] = "0123456789abcdef";
  for (int shift = (width - 1) * 4; shift >= 0; shift -= 4) out += kDigits[(value >> shift) & 0xF];
}

// UTF-16 code units of well-formed UTF-8.
std::vector<uint16_t> Utf16(const std::string& utf8) {
  std::vector<uint16_t> units;
  for (size_t i = 0; i < utf8.size();) {
    const auto b = [&](size_t k) { return static_cast<uint32_t>(static_cast<unsigned char>(utf8[k])); };
    uint32_t cp;
    if (b(i) < 0x80) {
      cp = b(i);
      i += 1;
    } else if (b(i) < 0xE0) {
      cp = ((b(i) & 0x1F) << 6) | (b(i + 1) & 0x3F);
      i += 2;
    } else if (b(i) < 0xF0) {
      cp = ((b(i) & 0x0F) << 12) | ((b(i + 1) & 0x3F) << 6) | (b(i + 2) & 0x3F);
      i += 3;
    } else {
      cp = ((b(i) & 0x07) << 18) | ((b(i + 1) & 0x3F) << 12) | ((b(i + 2) & 0x3F) << 6) | (b(i + 3) & 0x3F);
      i += 4;
    }
    if (cp >= 0x10000) {
      units.push_back(static_cast<uint16_t>(0xD800 + ((cp - 0x10000) >> 10)));
      units.push_back(static_cast<uint16_t>(0xDC00 + ((cp - 0x10000) & 0x3FF)));
    } else {
      units.push_back(static_cast<uint16_t>(cp));
    }
  }
  return units;
}

std::string DescribeText(const std::vector<uint16_t>& units) {
  std::string out = "s";
  for (uint16_t u : units) AppendHex(out, u, 4);
  return out + ";";
}

std::string Describe(const JSValue& value) {
  switch (value.type) {
    case JSValueType::Undefined: return "u";
    case JSValueType::Null: return "n";
    case JSValueType::Boolean: return value.boolValue ? "b1" : "b0";
    case JSValueType::Number: {
      const double sent = std::isfinite(value.numberValue) ? jsbridge::LiteralNumberValue(value.numberValue)
                                                            : value.numberValue;
      if (std::isnan(sent)) return "dNaN";
      uint64_t bits;
      std::memcpy(&bits, &sent, sizeof bits);
      std::string out = "d";
      AppendHex(out, bits, 16);
      return out;
    }
    case JSValueType::String: return DescribeText(Utf16(jsbridge::WellFormedUtf8(value.stringValue)));
    case JSValueType::Binary: {
      std::string out = "B";
      for (uint8_t byte : value.binaryValue) AppendHex(out, byte, 2);
      return out + ";";
    }
    case JSValueType::Array: {
      std::string out = "[";
      for (size_t i = 0; i < value.arrayValue.size(); ++i) {
        if (i) out += ",";
        out += Describe(value.arrayValue[i]);
      }
      return out + "]";
    }
    case JSValueType::Object: {
      // Members in the order they are written; a later key that reads the
      // same once repaired takes the place of the earlier one. Sorted by
      // UTF-16 code units, as the probe sorts them.
      std::map<std::vector<uint16_t>, std::string> members;
      for (const auto& [key, member] : value.objectValue)
        members[Utf16(jsbridge::WellFormedUtf8(key))] = Describe(member);
      std::string out = "{";
      bool first = true;
      for (const auto& [units, described] : members) {
        if (!first) out += ",";
        first = false;
        out += DescribeText(units) + ":" + described;
      }
      return out + "}";
    }
  }
  return "?";
}

// ---- arguments from bytes ----

class Reader {
 public:
  Reader(const uint8_t* data, size_t size) : data_(data), size_(size) {}
  bool Empty() const { return at_ >= size_; }
  uint8_t Byte() { return at_ < size_ ? data_[at_++] : 0; }
  std::string Bytes(size_t n) {
    n = std::min(n, size_ - std::min(at_, size_));
    std::string out(reinterpret_cast<const char*>(data_ + at_), n);
    at_ += n;
    return out;
  }
  // A length byte, then that many bytes.
  std::string Text() { return Bytes(Byte()); }

  // One value; nesting ends at depth 4.
  JSValue Value(int depth) {
    const uint8_t kind = Byte();
    switch (kind % 10) {
      case 0: return JSValue();
      case 1: return JSValue::Null();
      case 2: return JSValue((kind & 0x10) != 0);
      case 3: {  // any double, from its bits
        const std::string raw = Bytes(8) + std::string(8, '\0');
        double d;
        std::memcpy(&d, raw.data(), sizeof d);
        return JSValue(d);
      }
      case 4: {  // a whole or short decimal number
        const int64_t whole = static_cast<int8_t>(Byte()) * 1000 + Byte();
        return JSValue(static_cast<double>(whole) / ((kind & 0x10) ? 1000.0 : 1.0));
      }
      case 5:
      case 6: return JSValue(Text());
      case 7: {
        const std::string bytes = Text();
        return JSValue::Binary(bytes.data(), bytes.size());
      }
      case 8: {
        JSValue array = JSValue::Array();
        if (depth < 4)
          for (uint8_t n = Byte() % 5; n > 0 && !Empty(); --n) array.Push(Value(depth + 1));
        return array;
      }
      default: {
        JSValue object = JSValue::Object();
        if (depth < 4)
          for (uint8_t n = Byte() % 5; n > 0 && !Empty(); --n) {
            std::string key = Text();
            object.objectValue[key] = Value(depth + 1);
          }
        return object;
      }
    }
  }

 private:
  const uint8_t* data_;
  size_t size_;
  size_t at_ = 0;
};

MorvantaAccountManager_T* g_account = nullptr;
double g_calls = 0;

std::string Expected(const std::vector<JSValue>& args) {
  g_calls += 1;
  std::string out = "0||" + std::to_string(static_cast<int64_t>(g_calls)) + "|" + std::to_string(args.size()) + "|";
  for (size_t i = 0; i < args.size(); ++i) {
    if (i) out += " ";
    out += Describe(args[i]);
  }
  return out;
}

void Compare(const std::string& told, const std::vector<JSValue>& args) {
  const std::string expected = Expected(args);
  if (told != expected) fuzz::Fail(kTarget, "the SDK received other values\n  probe:    " + told + "\n  expected: " + expected);
}

void OnNickname(int code, const char* message, void* user_data) {
  auto* answer = static_cast<fuzz::Answer*>(user_data);
  JSResult r;
  r.success = code == 1;
  r.value = JSValue(message ? message : "");
  answer->Callback()(r);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  MorvantaSDK_T* sdk = fuzz::StartLibrary(kTarget);
  g_account = Morvanta_GetAccountManager(sdk);
  const JSResult installed = fuzz::RunScript(kTarget, kProbe);
  if (!installed.success || installed.value.stringValue != "installed")
    fuzz::Fail(kTarget, "probe not installed: " + installed.error);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  const uint8_t way = data[0] % 3;
  Reader reader(data + 1, size - 1);
  fuzz::Answer answer;
  std::vector<JSValue> args;
  if (way == 2) {
    // A host string as C gives it: up to its first NUL.
    const std::string raw = reader.Bytes(size);
    const std::string nickname(raw.c_str());
    args.push_back(JSValue(nickname));
    if (Morvanta_Account_UpdateNickname(g_account, nickname.c_str(), &OnNickname, &answer) != 0)
      fuzz::Fail(kTarget, "call refused");
  } else {
    for (uint8_t n = reader.Byte() % 5; n > 0 && !reader.Empty(); --n) args.push_back(reader.Value(0));
    capi::g_bridge->CallFunction(way == 0 ? "__fuzzProbe.record" : "__fuzzProbe['record']", args,
                                 answer.Callback());
  }
  if (!answer.Wait(std::chrono::seconds(10))) fuzz::Fail(kTarget, "no answer within 10 s");
  if (!answer.result.success) {
    std::vector<jsbridge::JSValue> sent;
    for (const JSValue& arg : args) sent.push_back(JSBridgeAdapter::ToBridgeValue(arg));
    fuzz::Fail(kTarget, "the call failed: " + answer.result.error + "\n  script: " +
                            jsbridge::BuildCallScript("__fuzzProbe.record", sent));
  }
  Compare(answer.result.value.stringValue, args);
  return 0;
}
