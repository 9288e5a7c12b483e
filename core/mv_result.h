// The result type of the product layer. Every SDK answer that a manager hands
// to the C layer is one of these: a code (0 is success; the SDK's own codes
// pass through, the library's conversion failures are -1), a failure text and,
// on success, the converted payload.
//
// A result is made in one of two ways only: Success() from a converted value
// (code 0, empty message, data engaged) or Failure() from a code and a text
// (data empty). There is deliberately no default constructor, so a result can
// never exist in a half-made state.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace morvanta {

template <typename T>
struct MvResult {
  int32_t code;
  std::string message;
  std::optional<T> data;

  static MvResult Success(T value) { return MvResult(0, std::string(), std::move(value)); }
  static MvResult Failure(int32_t code, std::string message) {
    return MvResult(code, std::move(message), std::nullopt);
  }

  bool IsSuccess() const { return code == 0; }

 private:
  MvResult(int32_t c, std::string m, std::optional<T> d)
      : code(c), message(std::move(m)), data(std::move(d)) {}
};

// Operations that answer with nothing but an outcome.
template <>
struct MvResult<void> {
  int32_t code;
  std::string message;

  static MvResult Success() { return MvResult(0, std::string()); }
  static MvResult Failure(int32_t code, std::string message) {
    return MvResult(code, std::move(message));
  }

  bool IsSuccess() const { return code == 0; }

 private:
  MvResult(int32_t c, std::string m) : code(c), message(std::move(m)) {}
};

}  // namespace morvanta
