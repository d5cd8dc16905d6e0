#pragma once

#include <xrm.h>

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "contract/HardwareInfo.h"

namespace qvs {

/// The resource manager of the accelerator cards: what the cards are, and what a job reserves of their compute units.
/// Calls on different sessions may come from different threads; a session's belong to one.
class XilinxU30Utils {
 public:
  static void getU30Info(HardwareInfoU30* info);

  /// A connection to the manager; kFailure where there is none.
  static uint32_t createContext();
  static int32_t destroyContext(uint32_t id);
  /// What a job would load, by the manager's own plug-in for its kind; the session notes it. The last field of the answer.
  static int32_t execPluginFunc(const char* plugin, const char* input, uint32_t id);
  /// How many of what the session has noted would fit.
  static int32_t checkCuPoolAvailableNum(uint32_t id);
  /// The pool's id; 0 where it doesn't fit, all ones for an unknown session. What was noted is forgotten.
  static uint64_t cuPoolReserve(uint32_t id);
  static bool cuPoolRelinquish(uint64_t pool, uint32_t id);

 private:
  /// A share of a compute unit.
  struct props {
    const char* plugin_name;  ///< what it is for
    const char* kernelName;
    const char* kernelAlias;
    bool devExcl;
    int32_t requestLoad;  ///< millionths
  };
  struct session {
    xrmContext context = nullptr;
    xrmCuPoolPropertyV2 cuProps{};
    std::vector<props> loads;
  };

  static uint32_t initSession();
  static void deleteSession(uint32_t id);
  static std::shared_ptr<session> find(uint32_t id);
  static void note(session& owner, const char* plugin, const std::vector<int64_t>& fields);
  static void add(session& owner, const props& load, int64_t times = 1);
  static void fillPool(session& owner);

  static std::map<uint32_t, std::shared_ptr<session>>& sessionMap();
  static std::mutex mapLock;  ///< guards the map
  static std::atomic<uint32_t> currentId;
};

}  // namespace qvs
