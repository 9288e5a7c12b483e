// Writes bridge values as JavaScript source, the form in which every call's
// arguments reach the SDK.
#pragma once

#include <string>
#include <vector>

#include "bridge/js_value.h"

namespace morvanta {
namespace jsbridge {

// Numbers use "%f" (six decimals: 5 becomes 5.000000), except NaN and the
// infinities, which are written (0/0), (1/0) and (-1/0); strings are
// double-quoted with \" \\ \b \f \n \r \t escaped and every other character
// passed through, except that bytes which are not well-formed UTF-8 become
// U+FFFD (one per byte); an object's "__proto__" key is written in computed
// form (["__proto__"]: ...), so that it is an own member and does not set the
// prototype; binary becomes Buffer.from([..]); a function becomes null.
std::string ToJavaScriptSource(const JSValue& value);

// The string a quoted literal of `text` makes: `text` itself, with each byte
// that is not part of well-formed UTF-8 replaced by U+FFFD.
std::string WellFormedUtf8(const std::string& text);

// The number the literal of `value` makes in JavaScript.
double LiteralNumberValue(double value);

// "path(arg1, arg2, ...)".
std::string BuildCallScript(const std::string& path, const std::vector<JSValue>& args);

}  // namespace jsbridge
}  // namespace morvanta
