// Table checks of named values: ROW(expr) is the value of `expr` with its
// text as the row's name, and every failure names its row.
//   ExpectRows(ROW(a.x), 1, ROW(a.y), "two");   // each row against its value
//   ExpectAll(-1, ROW(c.p), ROW(c.q));          // every row against one value
// ROW evaluates in any order: for calls whose order matters, STEP(call, want)
// rows run one after the other in ExpectSteps({...}).
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <string>
#include <type_traits>

namespace test_rows {

template <class T>
struct Row {
  const char* name;
  T value;
};

// A C string as text, NULL as "(null)" (so a missing string fails, not crashes).
inline std::string Str(const char* text) { return text ? text : "(null)"; }

inline void ExpectRows() {}

template <class T, class U, class... Rest>
void ExpectRows(const Row<T>& row, const U& want, const Rest&... rest) {
  EXPECT_EQ(row.value, want) << row.name;
  ExpectRows(rest...);
}

template <class U, class... T>
void ExpectAll(const U& want, const Row<T>&... rows) {
  auto one = [&](const auto& row) { EXPECT_EQ(row.value, want) << row.name; };
  (one(rows), ...);
}

struct Step {
  const char* name;
  std::function<long long()> call;
  long long want;
};

inline void ExpectSteps(std::initializer_list<Step> steps) {
  for (const Step& step : steps) EXPECT_EQ(step.call(), step.want) << step.name;
}

}  // namespace test_rows

#define ROW(...) ::test_rows::Row<std::decay_t<decltype(__VA_ARGS__)>>{#__VA_ARGS__, __VA_ARGS__}
#define STEP(call, want) ::test_rows::Step{#call, [&] { return static_cast<long long>(call); }, want}
