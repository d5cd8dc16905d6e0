// The rules about a plug-in's version, its description and its keys.
#include "common/KeyChecks.h"

#include <cmath>
#include <cstring>
#include <filesystem>
#include <limits>
#include <nlohmann/json.hpp>
#include <set>

#include "common/CodecRow.h"
#include "common/GuardedBytes.h"

namespace qvs::validator {
namespace {

using Json = nlohmann::json;

constexpr double kExact = 9007199254740992.0;  // beyond 2^53 a double is no exact integer

// Asks for a text with room for `size` bytes. False where its end has no zero.
bool ask(const std::function<void(char*, uint32_t)>& call, uint32_t size, std::string& text) {
  GuardedBytes room("the room for a text", size);
  memset(room.data(), 'x', size);
  call(reinterpret_cast<char*>(room.data()), size);
  if (memchr(room.data(), 0, size) == nullptr) return false;
  text = reinterpret_cast<const char*>(room.data());
  return true;
}

// A text that can be had with any room, cut to it.
std::string wrongText(const char* name, const std::function<void(char*, uint32_t)>& call, uint32_t whole) {
  std::string text;
  std::string part;
  if (!ask(call, whole, text)) return std::string(name) + " leaves no zero at the end of its text";
  for (const uint32_t size : {1u, 2u, whole - 1}) {
    if (size == 0) continue;
    if (!ask(call, size, part)) return std::string(name) + " leaves no zero at the end of a cut text";
    if (!text.starts_with(part)) return std::string(name) + " gives another text where there is less room";
  }
  return {};
}

Json description(const KeyEntryPoints& plugin) {
  uint32_t needed = 0;
  std::string text;
  const auto call = [&](char* room, uint32_t size) { plugin.describe(room, size, &needed); };
  if (plugin.describe == nullptr || plugin.describe(nullptr, 0, &needed) != 0 || needed == 0) return {};
  if (!ask(call, needed, text)) return {};
  return Json::parse(text, nullptr, false);
}

struct Key {
  uint32_t number;
  std::string name;
  bool isDouble;
  double low, high, initial;
};

std::string wrongKey(const Json& json, Key& key, std::set<uint32_t>& numbers) {
  const auto isNumber = [&](const char* field) { return json.contains(field) && json[field].is_number(); };
  const auto isText = [&](const char* field) {
    return json.contains(field) && json[field].is_string() &&
           !json[field].get_ref<const std::string&>().empty();
  };
  if (!json.is_object() || !isNumber("key") || !isText("name")) return "a key has no number or no name";
  key.number = json["key"].get<uint32_t>();
  key.name = json["name"].get<std::string>();
  const std::string who = "key " + std::to_string(key.number) + " (" + key.name + ") ";
  if (!numbers.insert(key.number).second) return who + "stands twice in the description";
  if (!isText("does")) return who + "does not say what it does";
  if (!isText("type") || (json["type"] != "long" && json["type"] != "double"))
    return who + "has no known type";
  if (!isNumber("low") || !isNumber("high") || !isNumber("default"))
    return who + "lacks low, high or default";
  key.isDouble = json["type"] == "double";
  key.low = json["low"].get<double>();
  key.high = json["high"].get<double>();
  key.initial = json["default"].get<double>();
  if (!(key.low <= key.initial && key.initial <= key.high))
    return who + "has a default outside its own range";
  return {};
}

std::string keysOf(const Json& json, std::vector<Key>& keys) {
  std::set<uint32_t> numbers;
  for (const Json& row : json["keys"]) {
    Key key{};
    if (std::string wrong = wrongKey(row, key, numbers); !wrong.empty()) return wrong;
    keys.push_back(key);
  }
  return {};
}

int32_t set(const KeyEntryPoints& plugin, void* session, const Key& key, double value) {
  return key.isDouble ? plugin.setDouble(session, key.number, value)
                      : plugin.setLong(session, key.number, static_cast<int64_t>(value));
}

double get(const KeyEntryPoints& plugin, void* session, const Key& key) {
  double real = std::numeric_limits<double>::quiet_NaN();
  int64_t whole = std::numeric_limits<int64_t>::min();
  const int32_t status = key.isDouble ? plugin.getDouble(session, key.number, &real)
                                      : plugin.getLong(session, key.number, &whole);
  if (status != 0) return std::numeric_limits<double>::quiet_NaN();
  return key.isDouble ? real : static_cast<double>(whole);
}

std::string wrongRange(const KeyEntryPoints& plugin, void* session, const Key& key) {
  for (const double value : {key.low, key.high}) {
    if (set(plugin, session, key, value) != 0)
      return "refuses " + std::to_string(value) + ", which its range allows";
    if (get(plugin, session, key) != value)
      return "was set to " + std::to_string(value) + " and gives something else";
  }
  for (const double value : {key.low - 1, key.high + 1}) {
    if (std::abs(value) >= kExact) continue;
    if (set(plugin, session, key, value) == 0)
      return "takes " + std::to_string(value) + ", which is out of its range";
    std::string words;
    if (plugin.problem != nullptr &&
        (!ask([&](char* room, uint32_t size) { plugin.problem(session, room, size); }, 512, words) ||
         words.empty())) {
      return "does not say why it refuses " + std::to_string(value);
    }
    if (get(plugin, session, key) != key.high) return "is changed by a value that was refused";
  }
  if (key.isDouble && set(plugin, session, key, std::nan("")) == 0) return "takes what is no number";
  return set(plugin, session, key, key.initial) == 0 ? "" : "refuses its own default";
}

std::string wrongAtWork(const KeyEntryPoints& plugin, void* session, const Key& key) {
  uint32_t length = 7;
  const int32_t type = plugin.type(session, key.number, &length);
  if (type != (key.isDouble ? 3 : 1))
    return "is of type " + std::to_string(type) + " and is described as another";
  if (const double value = get(plugin, session, key); value != key.initial) {
    return "is " + std::to_string(value) + " in a new session, and is described as " +
           std::to_string(key.initial);
  }
  return wrongRange(plugin, session, key);
}

uint32_t unknownNumber(const std::vector<Key>& keys) {
  uint32_t number = 1;
  for (const Key& key : keys) number = std::max(number, key.number + 1);
  return number;
}

}  // namespace

Verdict tellsItsVersion(const KeyEntryPoints& plugin) {
  uint32_t major = 0;
  uint32_t minor = 0;
  enter("getVersion");
  const auto call = [&](char* room, uint32_t size) {
    plugin.getVersion(reinterpret_cast<uint8_t*>(room), size, &major, &minor);
  };
  if (const std::string wrong = wrongText("getVersion", call, 256); !wrong.empty()) return wrong;
  std::string words;
  ask(call, 256, words);
  return {Verdict::kKept, words + " (" + std::to_string(major) + "." + std::to_string(minor) + ")"};
}

Verdict describesItself(const KeyEntryPoints& plugin) {
  if (plugin.describe == nullptr) return {Verdict::kNotOffered, "describe"};
  enter("describe");
  uint32_t needed = 0;
  if (plugin.describe(nullptr, 0, &needed) != 0 || needed == 0)
    return std::string("describe does not tell its length");
  const auto call = [&](char* room, uint32_t size) { plugin.describe(room, size, nullptr); };
  if (const std::string wrong = wrongText("describe", call, needed); !wrong.empty()) return wrong;
  const Json json = description(plugin);
  if (!json.is_object()) return std::string("describe gives no JSON object");
  for (const char* field : {"name", "standsOn"}) {
    if (!json.contains(field) || !json[field].is_string())
      return std::string("the description lacks ") + field;
  }
  for (const char* field : {"codecs", "keys"}) {
    if (!json.contains(field) || !json[field].is_array())
      return std::string("the description lacks ") + field;
  }
  std::vector<Key> keys;
  if (std::string wrong = keysOf(json, keys); !wrong.empty()) return wrong;
  return {Verdict::kKept, std::to_string(keys.size()) + " keys"};
}

Verdict keepsItsKeys(const KeyEntryPoints& plugin) {
  if (plugin.describe == nullptr || plugin.type == nullptr) {
    return {Verdict::kNotOffered, "describe or getParameterValueType"};
  }
  const Json json = description(plugin);
  std::vector<Key> keys;
  if (!json.is_object() || !json.contains("keys") || !keysOf(json, keys).empty()) {
    return std::string("the description is not usable");
  }
  void* session = nullptr;
  if (plugin.create(&session) != 0) return std::string("create fails");
  std::string wrong;
  for (const Key& key : keys) {
    if (key.isDouble ? plugin.setDouble == nullptr || plugin.getDouble == nullptr
                     : plugin.setLong == nullptr || plugin.getLong == nullptr) {
      wrong = "there is no entry point to set and get key " + key.name;
    } else {
      wrong = wrongAtWork(plugin, session, key);
      if (!wrong.empty()) wrong = "key " + std::to_string(key.number) + " (" + key.name + ") " + wrong;
    }
    if (!wrong.empty()) break;
  }
  if (wrong.empty() && plugin.type(session, unknownNumber(keys), nullptr) != 0)
    wrong = "a key that is none has a type";
  plugin.destroy(session);
  return wrong;
}

std::vector<uint32_t> codecsOf(const KeyEntryPoints& plugin, const std::string& file) {
  const Json json = description(plugin);
  if (json.is_object() && json.contains("codecs")) return codecsNamed(json["codecs"].dump());
  return codecsNamed(std::filesystem::path(file).filename().string());
}

}  // namespace qvs::validator
