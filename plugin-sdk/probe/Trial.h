#pragma once

#include <qvs/plugin.h>

#include <cstdlib>
#include <nlohmann/json.hpp>
#include <string>

#include "Apart.h"

namespace qvs::probe {

using Json = nlohmann::ordered_json;

/// The text of a status that all plug-ins share.
std::string statusText(int64_t status);

/// What went wrong in words: those of the plug-in itself, where it has some, and the status's.
std::string failureText(int64_t status, const std::string& own);

/// A session of a plug-in on trial: made, used, destroyed. A call that the plug-in doesn't offer succeeds, and nothing is
/// called any more once one that matters has failed.
template <typename Table>
class Trial {
 public:
  Trial(const Table& entryPoints, Steps& told) : table(entryPoints), steps(told) {
    steps.begin("create");
    const int32_t status = table.func_create(&session);
    if (status != 0 || session == nullptr) {
      fail("create", status != 0 ? failureText(status, "") : "no session");
    } else if (table.func_setAllocator2 != nullptr) {
      check("setAllocator2", table.func_setAllocator2, nullptr, make, release, lock, unlock);
    } else {
      check("setAllocator", table.func_setAllocator, nullptr, make, lock, unlock);
    }
  }
  Trial(const Trial&) = delete;
  Trial& operator=(const Trial&) = delete;

  bool works() const { return failedIn.empty(); }

  /// A call that a session can't do without; false where it failed now or before.
  template <typename Status, typename... Parameters, typename... Arguments>
  bool check(const char* name, Status (*entry)(void*, Parameters...), Arguments... arguments) {
    if (const int64_t status = call(name, entry, arguments...); status != 0) {
      fail(name, failureText(status, problem()));
    }
    return works();
  }

  /// A setting. The transcoder goes on where one is refused, and so does this.
  template <typename Status, typename... Parameters, typename... Arguments>
  void set(const char* name, Status (*entry)(void*, Parameters...), Arguments... arguments) {
    if (call(name, entry, arguments...) != 0) refused.push_back(name);
  }

  void fail(const char* call, const std::string& words) {
    failedIn = call;
    reason = words;
  }

  /// Destroys the session.
  void end() {
    if (session == nullptr) return;
    steps.begin("destroy");
    table.func_destroy(session);
    session = nullptr;
  }

  /// How it went.
  void writeTo(Json& report) const {
    report["works"] = works();
    if (!works()) report["failedIn"] = failedIn;
    if (!works()) report["reason"] = reason;
    if (!refused.empty()) report["refused"] = refused;
  }

  void* session = nullptr;

 private:
  template <typename Status, typename... Parameters, typename... Arguments>
  int64_t call(const char* name, Status (*entry)(void*, Parameters...), Arguments... arguments) {
    if (!works() || entry == nullptr) return 0;
    steps.begin(name);
    return entry(session, arguments...);
  }

  std::string problem() {
    char words[512] = "";
    if constexpr (requires { table.func_getProblem; }) {
      if (table.func_getProblem != nullptr) table.func_getProblem(session, words, sizeof words);
    }
    words[sizeof words - 1] = '\0';
    return words;
  }

  static void* make(void*, uint32_t size) { return std::malloc(size); }
  static void release(void*, void* array) { std::free(array); }
  static uint8_t* lock(void*, void* array) { return static_cast<uint8_t*>(array); }
  static void unlock(void*, void*, uint8_t*) {}

  const Table& table;
  Steps& steps;
  std::string failedIn;
  std::string reason;
  std::vector<std::string> refused;
};

}  // namespace qvs::probe
