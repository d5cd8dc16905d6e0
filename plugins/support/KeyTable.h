#pragma once

#include <qvs/plugin.h>

#include <cstdint>
#include <span>
#include <string>
#include <variant>
#include <vector>

namespace qvs::plugins {

/// Types of keys, as the plug-in contract numbers them.
enum KeyType : int32_t { kKeyUnknown = 0, kKeyLong = 1, kKeyDouble = 3 };

/// One key of a plug-in. Setting, getting, the type query, the docs and the inventory all read this row; the default is
/// what a new `Settings` holds.
template <typename Settings>
struct KeyRow {
  uint32_t key;
  const char* name;  ///< lowerCamelCase
  std::variant<int64_t Settings::*, double Settings::*> field;
  double low;        ///< smallest value taken
  double high;       ///< largest
  const char* does;  ///< a sentence; choices as "0 ultrafast, 1 superfast"
};

/// What a plug-in tells of itself beside its keys.
struct PluginDescription {
  const char* name;    ///< "x264"
  const char* codecs;  ///< names with a comma between them
  const char* standsOn;
  uint32_t maxWidth;
  uint32_t maxHeight;
};

/// A key in plain values, for describing.
struct KeyText {
  uint32_t key;
  const char* name;
  bool isDouble;
  double low;
  double high;
  double initial;
  const char* does;
};

/// The JSON document of the contract's `describe`.
std::string describePlugin(const PluginDescription& plugin, std::span<const KeyText> keys);

/// A plug-in's keys over its settings. Out of range or unknown: a status, the value stays, `problem` says why.
template <typename Settings>
class KeyTable {
 public:
  using Rows = std::span<const KeyRow<Settings>>;

  KeyTable(Rows tableRows, Settings& target) : rows(tableRows), settings(target) {}

  int32_t type(uint32_t key) const {
    const KeyRow<Settings>* row = find(key);
    if (row == nullptr) return kKeyUnknown;
    return std::holds_alternative<double Settings::*>(row->field) ? kKeyDouble : kKeyLong;
  }

  /// A key that the plug-in doesn't have is accepted without a complaint: one list goes to all back ends.
  template <typename Value>
  int32_t set(uint32_t key, Value value, std::string& problem) {
    const KeyRow<Settings>* row = find(key);
    if (row == nullptr) return QVS_PLUGIN_OK;
    const auto wanted = static_cast<double>(value);
    if (!(wanted >= row->low && wanted <= row->high)) {
      problem = outOfRange(*row, wanted);
      return QVS_PLUGIN_INIT_ENCODER;
    }
    if (const auto* field = std::get_if<int64_t Settings::*>(&row->field)) {
      settings.** field = static_cast<int64_t>(value);
    } else {
      settings.*std::get<double Settings::*>(row->field) = wanted;
    }
    return QVS_PLUGIN_OK;
  }

  template <typename Value>
  int32_t get(uint32_t key, Value* value) const {
    const KeyRow<Settings>* row = find(key);
    *value = row == nullptr ? Value{} : static_cast<Value>(valueOf(*row, settings));
    return QVS_PLUGIN_OK;
  }

  static std::string describe(const PluginDescription& plugin, Rows rows) {
    std::vector<KeyText> keys;
    const Settings initial{};
    for (const KeyRow<Settings>& row : rows) {
      keys.push_back({row.key, row.name, std::holds_alternative<double Settings::*>(row.field), row.low,
                      row.high, valueOf(row, initial), row.does});
    }
    return describePlugin(plugin, keys);
  }

 private:
  const KeyRow<Settings>* find(uint32_t key) const {
    for (const KeyRow<Settings>& row : rows) {
      if (row.key == key) return &row;
    }
    return nullptr;
  }

  static double valueOf(const KeyRow<Settings>& row, const Settings& from) {
    if (const auto* field = std::get_if<int64_t Settings::*>(&row.field)) {
      return static_cast<double>(from.**field);
    }
    return from.*std::get<double Settings::*>(row.field);
  }

  static std::string outOfRange(const KeyRow<Settings>& row, double wanted);

  Rows rows;
  Settings& settings;
};

/// "preset (70000) is 17, taken are 0 to 9".
std::string outOfRangeText(const KeyText& key, double wanted);

template <typename Settings>
std::string KeyTable<Settings>::outOfRange(const KeyRow<Settings>& row, double wanted) {
  return outOfRangeText({row.key, row.name, false, row.low, row.high, 0, row.does}, wanted);
}

}  // namespace qvs::plugins
