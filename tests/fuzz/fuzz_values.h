// Helpers the fuzz targets share: how a broken property is reported, and
// value comparison.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

#include "bridge/product_value.h"

namespace morvanta {
namespace fuzz {

// A broken property is a finding: the fuzzer keeps the input that broke it.
[[noreturn]] inline void Fail(const char* target, const std::string& what) {
  std::fprintf(stderr, "\n[fuzz_%s] property broken: %s\n", target, what.c_str());
  std::fflush(stderr);
  std::abort();
}

// Same kind and contents, recursively (numbers by ==).
inline bool SameValue(const JSValue& a, const JSValue& b) {
  if (a.type != b.type) return false;
  switch (a.type) {
    case JSValueType::Boolean: return a.boolValue == b.boolValue;
    case JSValueType::Number: return a.numberValue == b.numberValue;
    case JSValueType::String: return a.stringValue == b.stringValue;
    case JSValueType::Binary: return a.binaryValue == b.binaryValue;
    case JSValueType::Array:
      if (a.arrayValue.size() != b.arrayValue.size()) return false;
      for (size_t i = 0; i < a.arrayValue.size(); ++i)
        if (!SameValue(a.arrayValue[i], b.arrayValue[i])) return false;
      return true;
    case JSValueType::Object: {
      if (a.objectValue.size() != b.objectValue.size()) return false;
      auto i = a.objectValue.begin();
      for (auto j = b.objectValue.begin(); j != b.objectValue.end(); ++i, ++j)
        if (i->first != j->first || !SameValue(i->second, j->second)) return false;
      return true;
    }
    default: return true;
  }
}

}  // namespace fuzz
}  // namespace morvanta
