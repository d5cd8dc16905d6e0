#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <span>
#include <type_traits>

#include "contract/ParameterType.h"
#include "platform/Status.h"

namespace qvs {

/// One key of a stage: what type it has and how its value is reached. A double travels as its bits. The
/// default is what the field is made with.
template <typename Owner>
struct ParameterRow {
  uint32_t key;
  ParameterType type;
  uint32_t count;  ///< elements of an array, else 0
  int64_t (*get)(const Owner& owner, uint32_t element);
  /// One value, or as many elements as the host gave.
  void (*set)(Owner& owner, uint32_t key, std::span<const int64_t> values);
};

namespace detail {

template <typename Pointer>
struct Member;
template <typename ClassOf, typename FieldOf>
struct Member<FieldOf ClassOf::*> {
  using Class = ClassOf;
  using Field = FieldOf;
};

template <typename Field>
int64_t readField(const Field& field) {
  if constexpr (std::is_floating_point_v<Field>) {
    return std::bit_cast<int64_t>(double{field});
  } else if constexpr (std::is_enum_v<Field>) {
    // As bits: a host may have sent a number that the enumeration lacks.
    std::underlying_type_t<Field> bits;
    std::memcpy(&bits, &field, sizeof bits);
    return int64_t{bits};
  } else {
    return static_cast<int64_t>(field);
  }
}

template <typename Field>
void writeField(Field& field, int64_t value) {
  if constexpr (std::is_floating_point_v<Field>) {
    field = std::bit_cast<double>(value);
  } else if constexpr (std::is_enum_v<Field>) {
    const auto bits = static_cast<std::underlying_type_t<Field>>(value);
    std::memcpy(&field, &bits, sizeof bits);
  } else {
    field = static_cast<Field>(value);
  }
}

/// The field at the end of a path of members.
template <typename Start, typename First, typename... Rest>
auto& follow(Start& start, First first, Rest... rest) {
  if constexpr (sizeof...(Rest) == 0) {
    return start.*first;
  } else {
    return follow(start.*first, rest...);
  }
}

template <auto Only>
constexpr auto lastOf() {
  return Only;
}
template <auto First, auto Second, auto... Rest>
constexpr auto lastOf() {
  return lastOf<Second, Rest...>();
}

}  // namespace detail

/// A row for a field. The first member may belong to `Owner`, to a base or to a class derived from it that
/// every owner with this row is of; further ones lead into it. Integers are narrowed to the field.
template <typename Owner, auto First, auto... Rest>
constexpr ParameterRow<Owner> parameterField(uint32_t key) {
  using Class = typename detail::Member<decltype(First)>::Class;
  using Field = typename detail::Member<decltype(detail::lastOf<First, Rest...>())>::Field;
  return {key, std::is_floating_point_v<Field> ? kParameterDouble : kParameterLong, 0,
          [](const Owner& owner, uint32_t) {
            return detail::readField(detail::follow(static_cast<const Class&>(owner), First, Rest...));
          },
          [](Owner& owner, uint32_t, std::span<const int64_t> values) {
            detail::writeField(detail::follow(static_cast<Class&>(owner), First, Rest...), values[0]);
          }};
}

template <typename Owner, size_t Count>
constexpr const ParameterRow<Owner>* findParameter(const ParameterRow<Owner> (&rows)[Count], uint32_t key) {
  for (const ParameterRow<Owner>& row : rows) {
    if (row.key == key) return &row;
  }
  return nullptr;
}

/// The parameter channel of a stage that serves the keys of a table: `Derived::parameterOf(key)` gives a
/// row, or null. A value of another type than its key's is accepted and dropped, as one for an unknown key
/// is. A stage with frames in work is waited for ahead of each set.
template <typename Derived, typename Base>
class WithParameters : public Base {
 public:
  using Base::Base;

  uint32_t setParameterValue(uint32_t key, int64_t value) override {
    return set(key, kParameterLong, {&value, 1});
  }
  uint32_t setParameterValue(uint32_t key, int64_t* values, uint32_t count) override {
    return values != nullptr ? set(key, kParameterLongArray, {values, count}) : kSuccess;
  }
  uint32_t setParameterValue(uint32_t key, double value) override {
    const auto bits = std::bit_cast<int64_t>(value);
    return set(key, kParameterDouble, {&bits, 1});
  }
  uint32_t setParameterValue(uint32_t, double*, uint32_t) override { return kSuccess; }

  uint32_t getParameterValueType(uint32_t key, uint32_t* arrayLength) override {
    const auto* row = self().parameterOf(key);
    if (arrayLength != nullptr) *arrayLength = row != nullptr ? row->count : 0;
    return row != nullptr ? row->type : kParameterUnknown;
  }
  uint32_t getParameterValue(uint32_t key, int64_t* value) override {
    const auto* row = rowOf(key, kParameterLong);
    if (value != nullptr) *value = row != nullptr ? row->get(self(), 0) : 0;
    return kSuccess;
  }
  uint32_t getParameterValue(uint32_t key, int64_t* values, uint32_t* count) override {
    if (count == nullptr) return kSuccess;
    const auto* row = values != nullptr ? rowOf(key, kParameterLongArray) : nullptr;
    const uint32_t there = row != nullptr ? row->count : 0;
    if (*count > there) *count = there;
    for (uint32_t i = 0; i < *count; ++i) values[i] = row->get(self(), i);
    return kSuccess;
  }
  uint32_t getParameterValue(uint32_t key, double* value) override {
    const auto* row = rowOf(key, kParameterDouble);
    if (value != nullptr) *value = row != nullptr ? std::bit_cast<double>(row->get(self(), 0)) : 0.0;
    return kSuccess;
  }
  uint32_t getParameterValue(uint32_t, double*, uint32_t* count) override {
    if (count != nullptr) *count = 0;
    return kSuccess;
  }

 private:
  Derived& self() { return static_cast<Derived&>(*this); }

  auto rowOf(uint32_t key, ParameterType type) {
    const auto* row = self().parameterOf(key);
    return row != nullptr && row->type == type ? row : nullptr;
  }

  uint32_t set(uint32_t key, ParameterType type, std::span<const int64_t> values) {
    const auto* row = rowOf(key, type);
    if (row == nullptr) return kSuccess;
    if constexpr (requires { self().finish(); }) self().finish();
    row->set(self(), key, values);
    return kSuccess;
  }
};

}  // namespace qvs
