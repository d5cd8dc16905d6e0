// libxrm.so.1 without a card: contexts, what jobs load, and pools of compute units on QVS_FAKE_CARDS cards (1).
#include "xrm.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "Card.h"
#include "fakes/support/OpenCounts.h"

namespace {

using Loads = std::map<std::string, int64_t>;  ///< millionths, by unit

struct Pool {
  size_t card;
  Loads loads;
  xrmContext owner;
};

struct Manager {
  std::mutex lock;
  std::set<void*> contexts;
  std::map<uint64_t, Pool> pools;
  std::vector<Loads> used;
  uint64_t lastPool = 0;
  qvs::fakes::OpenCounts counts{"xrm"};
};

Manager& manager() {
  static auto* made = [] {
    auto* one = new Manager;
    const char* cards = std::getenv("QVS_FAKE_CARDS");
    one->used.resize(cards != nullptr ? std::strtoul(cards, nullptr, 10) : 1);
    return one;
  }();
  return *made;
}

/// The parts of units that the codecs' own kernels have beside them come in sixteens.
int64_t capacityOf(const std::string& unit) {
  return unit.starts_with("kernel_") ? 16000000 : 1000000;
}

Loads loadsOf(const xrmCuListPropertyV2& list) {
  Loads loads;
  for (int32_t i = 0; i < list.cuNum; ++i) {
    const xrmCuPropertyV2& part = list.cuProps[i];
    loads[part.kernelName] += part.requestLoad >> XRM_LOAD_GRANULARIY_1000000_SHIFT;
  }
  return loads;
}

int64_t roomOn(const Loads& used, const Loads& wanted) {
  int64_t room = 1000;
  for (const auto& [unit, load] : wanted) {
    const auto there = used.find(unit);
    const int64_t free = capacityOf(unit) - (there != used.end() ? there->second : 0);
    if (load > 0) room = std::min(room, free / load);
  }
  return wanted.empty() ? 0 : room;
}

/// Of a job that names its width, height and rate, in this order; of one in the manager's own form behind "width".
int64_t loadOf(const char* job) {
  std::array<double, 3> numbers{};
  size_t count = 0;
  const char* named = std::strstr(job, "\"width\"");
  for (const char* at = named != nullptr ? named : job; *at != '\0' && count < numbers.size();) {
    char* end = nullptr;
    const double value = std::isdigit(static_cast<unsigned char>(*at)) != 0 ? std::strtod(at, &end) : 0;
    if (end != nullptr) numbers[count++] = value;
    at = end != nullptr ? end : at + 1;
  }
  return std::lround(numbers[0] * numbers[1] * numbers[2] / (3840.0 * 2160 * 60) * 1e6);
}

}  // namespace

QVS_FAKE_EXPORT xrmContext xrmCreateContext(uint32_t version) {
  if (fake_card_fault("xrmCreateContext") != 0 || version != XRM_API_VERSION_1) return nullptr;
  const std::lock_guard hold(manager().lock);
  manager().counts.opened("context");
  return *manager().contexts.insert(new char).first;
}

QVS_FAKE_EXPORT int32_t xrmDestroyContext(xrmContext context) {
  QVS_U30_CALL("xrmDestroyContext");
  const std::lock_guard hold(manager().lock);
  if (manager().contexts.erase(context) == 0) return -1;
  manager().counts.closed("context");
  delete static_cast<char*>(context);
  return 0;
}

QVS_FAKE_EXPORT int32_t xrmExecPluginFunc(xrmContext, char* plugin, uint32_t, xrmPluginFuncParam* param) {
  QVS_U30_CALL("xrmExecPluginFunc");
  const std::string name(plugin);
  const auto load = static_cast<long long>(loadOf(param->input));
  const auto answer = [&](const char* text, auto... values) {
    std::snprintf(param->output, sizeof param->output, text, values...);
    return 0;
  };
  if (name == "xrmU30EncPlugin") return answer("%lld 1 %lld", load, load / 2);
  if (name == "xrmU30DecPlugin" || name == "xrmU30ScalPlugin") return answer("%lld", load);
  if (name == "echo") return answer("%s", param->input);
  if (name == "unterminated") std::memset(param->output, '7', sizeof param->output);
  return name == "unterminated" ? 0 : -1;
}

QVS_FAKE_EXPORT int32_t xrmCheckCuPoolAvailableNumV2(xrmContext, xrmCuPoolPropertyV2* wanted) {
  QVS_U30_CALL("xrmCheckCuPoolAvailableNumV2");
  const std::lock_guard hold(manager().lock);
  int64_t sum = 0;
  for (const Loads& used : manager().used) sum += roomOn(used, loadsOf(wanted->cuListProp));
  return static_cast<int32_t>(sum);
}

QVS_FAKE_EXPORT uint64_t xrmCuPoolReserveV2(xrmContext context, xrmCuPoolPropertyV2* wanted,
                                            xrmCuPoolResInforV2*) {
  if (fake_card_fault("xrmCuPoolReserveV2") != 0) return 0;
  const std::lock_guard hold(manager().lock);
  const Loads loads = loadsOf(wanted->cuListProp);
  for (size_t card = 0; card < manager().used.size(); ++card) {
    if (roomOn(manager().used[card], loads) < 1) continue;
    for (const auto& [unit, load] : loads) manager().used[card][unit] += load;
    manager().counts.opened("pool");
    manager().pools[++manager().lastPool] = {card, loads, context};
    return manager().lastPool;
  }
  return 0;
}

QVS_FAKE_EXPORT bool xrmCuPoolRelinquish(xrmContext context, uint64_t id) {
  if (fake_card_fault("xrmCuPoolRelinquish") != 0) return false;
  const std::lock_guard hold(manager().lock);
  const auto found = manager().pools.find(id);
  if (found == manager().pools.end() || found->second.owner != context) return false;
  for (const auto& [unit, load] : found->second.loads) manager().used[found->second.card][unit] -= load;
  manager().pools.erase(found);
  manager().counts.closed("pool");
  return true;
}
