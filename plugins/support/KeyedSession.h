#pragma once

#include "EncoderSession.h"
#include "KeyTable.h"

namespace qvs::plugins {

/// A session whose keys are the rows of a table over its settings. A value set while it runs counts from the next
/// opening on.
template <typename Settings>
class KeyedSession : public EncoderSession {
 public:
  explicit KeyedSession(typename KeyTable<Settings>::Rows rows) : keys(rows, settings) {}

  int32_t keyType(uint32_t key) const override { return keys.type(key); }
  int32_t setKey(uint32_t key, int64_t value) override { return keys.set(key, value, problem); }
  int32_t setKey(uint32_t key, double value) override { return keys.set(key, value, problem); }
  int32_t getKey(uint32_t key, int64_t* value) const override { return keys.get(key, value); }
  int32_t getKey(uint32_t key, double* value) const override { return keys.get(key, value); }

 protected:
  Settings settings;

 private:
  KeyTable<Settings> keys;
};

}  // namespace qvs::plugins
