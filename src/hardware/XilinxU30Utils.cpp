// Reserving shares of the accelerator cards' compute units.
#include "hardware/XilinxU30Utils.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <optional>
#include <string_view>

#include "hardware/XilinxU30List.h"
#include "hardware/XrmLibrary.h"
#include "log/LogGlobalLogger.h"
#include "platform/Status.h"

namespace qvs {

namespace {

constexpr int32_t kWholeUnit = 1000000;

void tell(const char* operation, const char* reason, std::optional<int64_t> number = {}) {
  LogGlobalLogger::getInstance()->tell(operation, {.reason = reason, .number = number});
}

/// The numbers of an answer, which stand between blanks.
std::vector<int64_t> fieldsOf(const char* output, size_t size) {
  std::vector<int64_t> fields;
  std::string_view text(output, strnlen(output, size));
  while (true) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    if (text.empty()) return fields;
    const size_t length = std::min(text.find(' '), text.size());
    fields.push_back(std::strtoll(std::string(text.substr(0, length)).c_str(), nullptr, 10));
    text.remove_prefix(length);
  }
}

void copyName(const char* name, char (&out)[XRM_MAX_NAME_LEN]) {
  std::snprintf(out, sizeof out, "%s", name);
}

}  // namespace

std::mutex XilinxU30Utils::mapLock;
std::atomic<uint32_t> XilinxU30Utils::currentId{0};

std::map<uint32_t, std::shared_ptr<XilinxU30Utils::session>>& XilinxU30Utils::sessionMap() {
  // Never destroyed: a server's threads may outlive the statics.
  static auto* const sessions = new std::map<uint32_t, std::shared_ptr<session>>;
  return *sessions;
}

void XilinxU30Utils::getU30Info(HardwareInfoU30* info) {
  XilinxU30List::read(XilinxU30List::xilinxList(), info);
}

uint32_t XilinxU30Utils::initSession() {
  const uint32_t id = ++currentId;
  const std::lock_guard guard(mapLock);
  sessionMap()[id] = std::make_shared<session>();
  return id;
}

void XilinxU30Utils::deleteSession(uint32_t id) {
  const std::lock_guard guard(mapLock);
  sessionMap().erase(id);
}

std::shared_ptr<XilinxU30Utils::session> XilinxU30Utils::find(uint32_t id) {
  const std::lock_guard guard(mapLock);
  const auto found = sessionMap().find(id);
  return found != sessionMap().end() ? found->second : nullptr;
}

uint32_t XilinxU30Utils::createContext() {
  constexpr const char* kLabel = "XilinxU30Utils::createContext";
  const XrmLibrary* xrm = XrmLibrary::get();
  if (xrm == nullptr) {
    tell(kLabel, "The cards' resource manager is not installed");
    return kFailure;
  }
  const xrmContext context = xrm->xrmCreateContext(XRM_API_VERSION_1);
  if (context == nullptr) {
    tell(kLabel, "The cards' resource manager doesn't answer");
    return kFailure;
  }
  const uint32_t id = initSession();
  find(id)->context = context;
  return id;
}

int32_t XilinxU30Utils::destroyContext(uint32_t id) {
  const std::shared_ptr<session> owner = find(id);
  if (!owner) {
    std::puts("ERROR: XilinxU30Utils::destroyContext - Session not found");
    return -1;
  }
  const int32_t status = XrmLibrary::get()->xrmDestroyContext(owner->context);
  if (status != 0) {
    std::puts("xrmDestroyContext: fail to destroy context");
    tell("XilinxU30Utils::destroyContext", "The resource manager refused", status);
    return status;
  }
  deleteSession(id);
  std::puts("xrmDestroyContext: context destroyed");
  return 0;
}

int32_t XilinxU30Utils::execPluginFunc(const char* plugin, const char* input, uint32_t id) {
  const auto refuse = [](const char* reason, int64_t number) {
    std::puts("ERROR: execPluginFunx");
    tell("XilinxU30Utils::execPluginFunc", reason, number);
    return -1;
  };
  const std::shared_ptr<session> owner = find(id);
  if (!owner) return refuse("No session has this number", id);
  if (plugin == nullptr || input == nullptr) return refuse("A name or a job is missing", id);
  const size_t length = std::strlen(input);
  const auto param = std::make_unique<xrmPluginFuncParam>();
  if (length >= sizeof param->input)
    return refuse("The job's description is too long", static_cast<int64_t>(length));
  std::copy_n(input, length, param->input);
  std::string name(plugin);
  const int32_t status = XrmLibrary::get()->xrmExecPluginFunc(owner->context, name.data(), 0, param.get());
  if (status != 0) return refuse("The resource manager's plug-in failed", status);
  const std::vector<int64_t> fields = fieldsOf(param->output, sizeof param->output);
  if (fields.empty()) return refuse("The answer has no fields", id);
  note(*owner, plugin, fields);
  // An unknown plug-in's answer is of one field, as far as anybody knows.
  const std::string_view kind(plugin);
  const size_t read = kind == "xrmU30EncPlugin" ? std::min<size_t>(fields.size(), 3) : 1;
  constexpr int64_t kMost = std::numeric_limits<int32_t>::max();
  return static_cast<int32_t>(std::clamp<int64_t>(fields[read - 1], -kMost, kMost));
}

void XilinxU30Utils::note(session& owner, const char* plugin, const std::vector<int64_t>& fields) {
  const auto field = [&](size_t index) { return index < fields.size() ? fields[index] : 0; };
  const auto load = [&](size_t index) {
    return static_cast<int32_t>(std::clamp<int64_t>(field(index), 0, kWholeUnit));
  };
  const std::string_view kind(plugin);
  if (kind == "xrmU30DecPlugin" && field(0) > 0) {
    add(owner, {"xrmU30DecPlugin", "decoder", "DECODER_MPSOC", false, load(0)});
    add(owner, {"xrmU30DecPlugin", "kernel_vcu_decoder", "", false, kWholeUnit});
  } else if (kind == "xrmU30ScalPlugin" && field(0) > 0) {
    add(owner, {"xrmU30ScalPlugin", "scaler", "SCALER_MPSOC", false, load(0)});
  } else if (kind == "xrmU30EncPlugin") {
    add(owner, {"xrmU30EncPlugin", "encoder", "ENCODER_MPSOC", false, load(0)}, field(0) > 0 ? 1 : 0);
    add(owner, {"xrmU30EncPlugin", "kernel_vcu_encoder", "", false, kWholeUnit}, field(1));
    add(owner, {"xrmU30EncPlugin", "lookahead", "LOOKAHEAD_MPSOC", false, load(2)}, field(2) > 0 ? 1 : 0);
  }
}

// More than a list of the manager's has room for can't be asked for.
void XilinxU30Utils::add(session& owner, const props& load, int64_t times) {
  const auto room = static_cast<int64_t>(XRM_MAX_LIST_CU_NUM_V2 - owner.loads.size());
  if (times > room) {
    tell("XilinxU30Utils::execPluginFunc", "More compute units than a job may have", times);
  }
  owner.loads.insert(owner.loads.end(), static_cast<size_t>(std::clamp<int64_t>(times, 0, room)), load);
}

void XilinxU30Utils::fillPool(session& owner) {
  owner.cuProps = {};
  xrmCuListPropertyV2& list = owner.cuProps.cuListProp;
  list.cuNum = static_cast<int32_t>(owner.loads.size());
  for (size_t i = 0; i < owner.loads.size(); ++i) {
    const props& load = owner.loads[i];
    copyName(load.kernelName, list.cuProps[i].kernelName);
    copyName(load.kernelAlias, list.cuProps[i].kernelAlias);
    list.cuProps[i].devExcl = load.devExcl;
    list.cuProps[i].requestLoad = load.requestLoad << XRM_LOAD_GRANULARIY_1000000_SHIFT;
    list.cuProps[i].deviceInfo = uint64_t{XRM_DEVICE_INFO_CONSTRAINT_TYPE_VIRTUAL_DEVICE_INDEX}
                                 << XRM_DEVICE_INFO_CONSTRAINT_TYPE_SHIFT;
  }
  owner.cuProps.cuListNum = 1;
}

int32_t XilinxU30Utils::checkCuPoolAvailableNum(uint32_t id) {
  const std::shared_ptr<session> owner = find(id);
  int32_t count = -1;
  if (owner) {
    fillPool(*owner);
    count = XrmLibrary::get()->xrmCheckCuPoolAvailableNumV2(owner->context, &owner->cuProps);
  }
  if (count < 0) {
    std::puts("xrmCheckCuPoolAvailableNum: fail to check scaler cu pool available num");
    tell("XilinxU30Utils::checkCuPoolAvailableNum",
         owner ? "The resource manager failed" : "No session has this number", owner ? count : int64_t{id});
    return count;
  }
  std::printf("xrmCheckCuPoolAvailableNum: scaler cu pool available num = %d\n", count);
  return count;
}

uint64_t XilinxU30Utils::cuPoolReserve(uint32_t id) {
  const std::shared_ptr<session> owner = find(id);
  if (!owner) {
    tell("XilinxU30Utils::cuPoolReserve", "No session has this number", id);
    return ~uint64_t{0};
  }
  const std::unique_ptr<void, void (*)(void*)> memory(std::calloc(1, sizeof(xrmCuPoolResInforV2)), std::free);
  if (!memory) {
    std::puts("ERROR: Unable to allocate memory via calloc()");
    return ~uint64_t{0};
  }
  auto* result = static_cast<xrmCuPoolResInforV2*>(memory.get());
  const uint64_t pool = XrmLibrary::get()->xrmCuPoolReserveV2(owner->context, &owner->cuProps, result);
  if (pool != 0) {
    std::printf("xrmCuPoolReserve: reservePoolId = %lu\n", pool);
  } else {
    std::puts("xrmCuPoolReserve: fail to reserve scaler cu pool");
  }
  owner->loads.clear();
  return pool;
}

bool XilinxU30Utils::cuPoolRelinquish(uint64_t pool, uint32_t id) {
  const std::shared_ptr<session> owner = find(id);
  const bool done = owner && XrmLibrary::get()->xrmCuPoolRelinquish(owner->context, pool);
  if (done) {
    std::printf("xrmCuPoolRelinquish: relinquish resources with poolID = %lu\n", pool);
  } else {
    std::puts("xrmCuPoolRelinquish: fail to relinquish cu pool");
    tell("XilinxU30Utils::cuPoolRelinquish", owner ? "The pool isn't held" : "No session has this number",
         owner ? static_cast<int64_t>(pool) : int64_t{id});
  }
  return done;
}

}  // namespace qvs
