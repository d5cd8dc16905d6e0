#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace qvs::fakes {

/// What a call into a fake is to do instead of working. The fake carries these out in its own way: a picture that is
/// late is one that isn't ready, a call that is late sleeps.
struct Fault {
  enum class Kind { kNone, kStatus, kLate, kNever };
  Kind kind = Kind::kNone;
  int64_t value = 0;  ///< the status, or milliseconds

  explicit operator bool() const { return kind != Kind::kNone; }
};

/// A fake's orders, from one text: `CALL@N=ACTION;...;NAME=VALUE`. The n-th call of a name (from 1; `N+`: from the n-th
/// on; the name `any` counts all calls) does what ACTION says: `status:0x26`, `late:200` (milliseconds), `never`
/// (its picture isn't ready, ever), `hang` (the call doesn't return), `crash`. A value is a word or a number with
/// K, M or G behind it: `sessions=2;memory=64M;encoder=off`. A text that can't be read ends the process.
class FaultScript {
 public:
  void set(std::string_view text);

  /// Counts a call of `name`; hangs and crashes here.
  Fault next(const char* name);
  uint64_t calls();      ///< of all names since `set`
  std::string faulty();  ///< name of the call that had the last fault, empty where there was none
  bool is(const std::string& name, std::string_view word) const;
  std::string text(const std::string& name, std::string_view otherwise) const;
  int64_t number(const std::string& name, int64_t otherwise) const;

 private:
  struct Order {
    std::string call;
    uint64_t from;
    uint64_t to;
    std::string action;
    int64_t value;
  };
  void add(std::string_view entry);
  const Order* due(const char* name);

  std::mutex lock;
  std::vector<Order> orders;
  std::map<std::string, std::string, std::less<>> values;
  std::map<std::string, uint64_t, std::less<>> counts;
  uint64_t total = 0;
  std::string lastFaulty;
};

/// The process's script, from the environment variable QVS_FAKE_FAULTS.
FaultScript& faultScript();

}  // namespace qvs::fakes
