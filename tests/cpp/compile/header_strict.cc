// morvanta.hpp first and alone, then every operation instantiated in both
// forms, under -std=c++17 -Wall -Wextra -Wpedantic -Werror.
#include "morvanta.hpp"

#include "../every_operation.h"

#if !MORVANTA_CPP_FUTURES
#error "the future form is declared where exceptions are on"
#endif

void InstantiateEveryOperation(const morvanta::Session& session) {
  cpp_test::Managers all(session);
  cpp_test::ForEveryOperation(all, [](const char*, auto callbackForm, auto futureForm) {
    callbackForm([](auto result) { (void)result.code; });
    auto future = futureForm();
    (void)future.valid();
  });
}
