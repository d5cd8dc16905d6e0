// The fake driver library of SDI cards: devices, attributes, settings, discovery, and how tests reach the script.
#include <deque>
#include <map>
#include <utility>

#include "fakes/decklink/CardInput.h"
#include "fakes/support/FaultScript.h"

#define QVS_CARD_EXPORT extern "C" __attribute__((visibility("default")))

namespace qvs::fakes::card {
namespace {

constexpr Status kBadArgument = static_cast<Status>(0x80000003);

class CardAttributes final : public CardObject<ProfileAttributes> {
 public:
  explicit CardAttributes(int64_t index) : CardObject("attributes"), index(index) {}
  Status GetFlag(uint32_t id, bool* value) override {
    QVS_CARD_CALL("AttributesGetFlag");
    *value = id == codeOf("infd");
    return 0;
  }
  Status GetInt(uint32_t id, int64_t* value) override {
    QVS_CARD_CALL("AttributesGetInt");
    const std::map<uint32_t, int64_t> known = {
        {codeOf("peid"), 0x1000 + index}, {codeOf("mach"), 16}, {codeOf("vicn"), 3}, {codeOf("aicn"), 1}};
    const auto found = known.find(id);
    if (found == known.end()) return kBadArgument;
    *value = found->second;
    return 0;
  }
  Status GetFloat(uint32_t, double* value) override {
    QVS_CARD_CALL("AttributesGetFloat");
    *value = 1.5;
    return 0;
  }
  Status GetString(uint32_t, const char** value) override {
    QVS_CARD_CALL("AttributesGetString");
    return giveText("attribute", value);
  }

 private:
  const int64_t index;
};

/// A card's settings; one of another type than it was set with isn't there.
struct Settings {
  Settings() { forget(); }
  void forget() {
    const std::lock_guard hold(lock);
    flags.clear();
    numbers = {{codeOf("vicn"), 1}, {codeOf("aicn"), 1}};
  }

  std::mutex lock;
  std::map<uint32_t, bool> flags;
  std::map<uint32_t, int64_t> numbers;
  std::map<uint32_t, double> reals;
  std::map<uint32_t, std::string> texts;
};

class CardConfiguration final : public CardObject<Configuration> {
 public:
  explicit CardConfiguration(Settings& settings) : CardObject("configuration"), settings(settings) {}
  Status SetFlag(uint32_t id, bool value) override { return set("SetFlag", settings.flags, id, value); }
  Status GetFlag(uint32_t id, bool* value) override { return get("GetFlag", settings.flags, id, value); }
  Status SetInt(uint32_t id, int64_t value) override { return set("SetInt", settings.numbers, id, value); }
  Status GetInt(uint32_t id, int64_t* value) override { return get("GetInt", settings.numbers, id, value); }
  Status SetFloat(uint32_t id, double value) override { return set("SetFloat", settings.reals, id, value); }
  Status GetFloat(uint32_t id, double* value) override { return get("GetFloat", settings.reals, id, value); }
  Status SetString(uint32_t id, const char* value) override {
    return set("SetString", settings.texts, id, std::string(value));
  }
  Status GetString(uint32_t id, const char** value) override {
    std::string text;
    const Status answer = get("GetString", settings.texts, id, &text);
    return answer != 0 ? answer : giveText(text, value);
  }
  Status WriteConfigurationToPreferences() override { return faultOf("WriteConfigurationToPreferences"); }

 private:
  template <typename Map, typename Value>
  Status set(const char* call, Map& map, uint32_t id, const Value& value) {
    QVS_CARD_CALL(call);
    const std::lock_guard hold(settings.lock);
    map[id] = value;
    return 0;
  }
  template <typename Map, typename Value>
  Status get(const char* call, Map& map, uint32_t id, Value* value) {
    QVS_CARD_CALL(call);
    const std::lock_guard hold(settings.lock);
    const auto found = map.find(id);
    if (found == map.end()) return kBadArgument;
    *value = found->second;
    return 0;
  }

  Settings& settings;
};

class CardNotification final : public CardObject<Notification> {
 public:
  CardNotification() : CardObject("notification") {}
  Status Subscribe(uint32_t, NotificationCallback*) override { return faultOf("Subscribe"); }
  Status Unsubscribe(uint32_t, NotificationCallback*) override { return faultOf("Unsubscribe"); }
};

/// Never destroyed, as a driver's; references are counted for the test alone.
class CardDevice final : public Device {
 public:
  CardDevice(int64_t index, CardInput::Plug plug) : index(index), input(plug) {}

  Status QueryInterface(Identifier id, void** object) override {
    *object = nullptr;
    if (isSame(id, Device::kId) || isSame(id, kUnknownId)) {
      *object = static_cast<Device*>(this);
      AddRef();
      return 0;
    }
    if (isSame(id, Input::kId)) {
      QVS_CARD_CALL("QueryInput");
      *object = static_cast<Input*>(&input);
      input.AddRef();
      return 0;
    }
    if (isSame(id, Notification::kId)) {
      QVS_CARD_CALL("QueryNotification");
      *object = static_cast<Notification*>(new CardNotification);
      return 0;
    }
    if (isSame(id, ProfileAttributes::kId)) {
      QVS_CARD_CALL("QueryAttributes");
      *object = static_cast<ProfileAttributes*>(new CardAttributes(index));
      return 0;
    }
    if (isSame(id, Configuration::kId)) {
      QVS_CARD_CALL("QueryConfiguration");
      *object = static_cast<Configuration*>(new CardConfiguration(settings));
      return 0;
    }
    return kNoInterface;
  }
  unsigned long AddRef() override {
    cardCounts().opened("device");
    return 2;
  }
  void forget() { settings.forget(); }
  unsigned long Release() override {
    cardCounts().closed("device");
    return 1;
  }
  Status GetModelName(const char** name) override {
    QVS_CARD_CALL("GetModelName");
    return giveText("Fake SDI", name);
  }
  Status GetDisplayName(const char** name) override {
    QVS_CARD_CALL("GetDisplayName");
    return giveText("Fake SDI (" + std::to_string(index + 1) + ")", name);
  }

 private:
  const int64_t index;
  Settings settings;
  CardInput input;
};

/// Tells a watcher of cards that come and go, on a thread of its own as a driver does.
class Discoverer {
 public:
  static Discoverer& get() {
    static auto* const made = new Discoverer;
    return *made;
  }
  void watch(DeviceNotificationCallback* callback) {
    const std::lock_guard hold(lock);
    watcher = callback;
    if (callback != nullptr) callback->AddRef();
  }
  void tell(bool in) {
    {
      const std::lock_guard hold(lock);
      changes.push_back(in);
    }
    changed.notify_one();
  }

 private:
  Discoverer() {
    std::thread([this] { run(); }).detach();
  }
  void run();

  std::mutex lock;
  std::condition_variable changed;
  std::deque<bool> changes;
  DeviceNotificationCallback* watcher = nullptr;
};

std::atomic<bool> plugged{true};

void plugCard(bool in);

std::vector<CardDevice*>& devices() {
  static auto* const all = [] {
    auto* made = new std::vector<CardDevice*>;
    for (int64_t i = 0; i < faultScript().number("devices", 1); ++i)
      made->push_back(new CardDevice(i, plugCard));
    return made;
  }();
  return *all;
}

void plugCard(bool in) {
  plugged = in;
  Discoverer::get().tell(in);
}

void Discoverer::run() {
  for (;;) {
    std::unique_lock hold(lock);
    changed.wait(hold, [this] { return !changes.empty(); });
    const bool in = changes.front();
    changes.pop_front();
    DeviceNotificationCallback* const to = watcher;
    hold.unlock();
    if (to == nullptr) continue;
    in ? to->DeckLinkDeviceArrived(devices()[0]) : to->DeckLinkDeviceRemoved(devices()[0]);
  }
}

class CardIterator final : public CardObject<Iterator> {
 public:
  CardIterator() : CardObject("iterator") {}
  Status Next(Device** device) override {
    QVS_CARD_CALL("NextDevice");
    *device = nullptr;
    if (!plugged || at == devices().size()) return 1;
    *device = devices()[at++];
    (*device)->AddRef();
    return 0;
  }

 private:
  size_t at = 0;
};

class CardDiscovery final : public CardObject<Discovery> {
 public:
  CardDiscovery() : CardObject("discovery") {}
  Status InstallDeviceNotifications(DeviceNotificationCallback* callback) override {
    QVS_CARD_CALL("InstallDeviceNotifications");
    Discoverer::get().watch(callback);
    return 0;
  }
  Status UninstallDeviceNotifications() override {
    Discoverer::get().watch(nullptr);
    return 0;
  }
};

/// Writes the same picture in 8-bit 4:2:2.
class CardConversion final : public CardObject<VideoConversion> {
 public:
  CardConversion() : CardObject("conversion") {}
  Status ConvertFrame(VideoFrame* source, VideoFrame* target) override {
    QVS_CARD_CALL("ConvertFrame");
    auto* const frame = static_cast<CardFrame*>(source);
    std::vector<uint8_t> bytes;
    CardPicture().paint(*frame->what().mode, codeOf("2vuy"), frame->what().number, bytes);
    void* to = nullptr;
    if (target->GetBytes(&to) != 0 || to == nullptr || target->GetPixelFormat() != codeOf("2vuy"))
      return kFailed;
    if (static_cast<size_t>(target->GetRowBytes() * target->GetHeight()) != bytes.size()) return kFailed;
    std::memcpy(to, bytes.data(), bytes.size());
    return 0;
  }
};

}  // namespace

Status CardInput::QueryInterface(Identifier, void** object) {
  *object = nullptr;
  return kNoInterface;
}
unsigned long CardInput::AddRef() {
  cardCounts().opened("input");
  return 2;
}
unsigned long CardInput::Release() {
  cardCounts().closed("input");
  return 1;
}

}  // namespace qvs::fakes::card

using namespace qvs::fakes;

QVS_CARD_EXPORT card::Iterator* CreateDeckLinkIteratorInstance_0004() {
  return card::faultOf("CreateIterator") != 0 ? nullptr : new card::CardIterator;
}
QVS_CARD_EXPORT card::VideoConversion* CreateVideoConversionInstance_0001() {
  return card::faultOf("CreateConversion") != 0 ? nullptr : new card::CardConversion;
}
QVS_CARD_EXPORT card::Discovery* CreateDeckLinkDiscoveryInstance_0003() {
  return card::faultOf("CreateDiscovery") != 0 ? nullptr : new card::CardDiscovery;
}

// For tests, which find these by name.
QVS_CARD_EXPORT void qvsFakeCardScript(const char* text) {
  faultScript().set(text);
  ++card::scriptGeneration;
  for (auto* device : card::devices()) device->forget();
  card::plugged = true;
}
QVS_CARD_EXPORT uint64_t qvsFakeCardCalls() {
  return faultScript().calls();
}
QVS_CARD_EXPORT int64_t qvsFakeCardLive() {
  return card::cardCounts().live();
}
QVS_CARD_EXPORT uint64_t qvsFakeCardSent() {
  return card::CardInput::sent;
}
QVS_CARD_EXPORT const char* qvsFakeCardFaulty() {
  static std::string name;
  name = faultScript().faulty();
  return name.c_str();
}
