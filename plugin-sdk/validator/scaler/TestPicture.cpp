// The pictures that the rules are tried on, with guard bytes that tell stray writes.
#include "scaler/TestPicture.h"

#include <cstring>

namespace qvs::validator {
namespace {

constexpr uint8_t kMark = GuardedBytes::kFill;

bool isChroma(Component component) {
  return component == Component::kU || component == Component::kV;
}

const char* nameOf(Component component) {
  constexpr const char* kNames[] = {"Y", "U", "V", "A"};
  return kNames[static_cast<int>(component)];
}

}  // namespace

std::string nameOf(uint32_t fourcc) {
  std::string name(4, ' ');
  memcpy(name.data(), &fourcc, 4);
  return name;
}

TestPicture::TestPicture(uint32_t fourcc, uint32_t width, uint32_t height, uint32_t slack, bool atEnd) {
  const bool packed = fourcc == validator::fourcc("VUYA");
  const uint32_t stride = width * (packed ? 4 : 1) + slack;
  record = {fourcc, nullptr, stride, width, height};
  present = {Component::kY, Component::kU, Component::kV};
  if (packed) present.push_back(Component::kA);

  size = size_t{stride} * height;
  if (fourcc == validator::fourcc("NV12")) {
    size += size_t{stride} * (height / 2);
  } else if (!packed) {
    size += 2 * size_t{stride / 2} * (height / 2);
  }
  memory =
      std::make_unique<GuardedBytes>("a picture", size, atEnd ? GuardedBytes::kEnd : GuardedBytes::kStart);
  bytes = memory->data();
  record.plane = bytes;

  owned.resize(size);
  for (const Component component : present) {
    for (uint32_t y = 0; y < heightOf(component); ++y) {
      for (uint32_t x = 0; x < widthOf(component); ++x) owned[offsetOf(component, x, y)] = true;
    }
  }
}

uint32_t TestPicture::widthOf(Component component) const {
  return isChroma(component) && present.size() == 3 ? record.width / 2 : record.width;
}

uint32_t TestPicture::heightOf(Component component) const {
  return isChroma(component) && present.size() == 3 ? record.height / 2 : record.height;
}

size_t TestPicture::offsetOf(Component component, uint32_t x, uint32_t y) const {
  const size_t stride = record.stride;
  if (record.fourcc == fourcc("VUYA")) {
    constexpr size_t kByte[] = {2, 1, 0, 3};
    return y * stride + size_t{4} * x + kByte[static_cast<int>(component)];
  }
  if (component == Component::kY) return y * stride + x;
  const size_t chroma = stride * record.height;
  if (record.fourcc == fourcc("NV12"))
    return chroma + y * stride + size_t{2} * x + (component == Component::kV);
  const bool second = (component == Component::kU) == (record.fourcc == fourcc("YV12"));
  return chroma + (second ? stride / 2 * (record.height / 2) : 0) + y * (stride / 2) + x;
}

uint8_t& TestPicture::sample(Component component, uint32_t x, uint32_t y) {
  return bytes[offsetOf(component, x, y)];
}

void TestPicture::fill(const std::function<uint8_t(Component, uint32_t, uint32_t)>& value) {
  for (const Component component : present) {
    for (uint32_t y = 0; y < heightOf(component); ++y) {
      for (uint32_t x = 0; x < widthOf(component); ++x) sample(component, x, y) = value(component, x, y);
    }
  }
}

std::string TestPicture::strayWrites() const {
  for (size_t i = 0; i < size; ++i) {
    if (!owned[i] && bytes[i] != kMark) {
      return "wrote outside the samples, at byte " + std::to_string(i) + " of the " + nameOf(record.fourcc) +
             " picture";
    }
  }
  return {};
}

uint8_t noise(Component component, uint32_t x, uint32_t y, uint32_t seed) {
  uint32_t hash =
      (x * 0x9E3779B1u) ^ (y * 0x85EBCA77u) ^ (static_cast<uint32_t>(component) + seed) * 0xC2B2AE3Du;
  hash = (hash ^ hash >> 15) * 0x2C1B3C6Du;
  return static_cast<uint8_t>(hash >> 20);
}

std::string difference(TestPicture& got, TestPicture& wanted) {
  for (const Component component : wanted.components()) {
    for (uint32_t y = 0; y < wanted.heightOf(component); ++y) {
      for (uint32_t x = 0; x < wanted.widthOf(component); ++x) {
        const int is = got.sample(component, x, y);
        const int should = wanted.sample(component, x, y);
        if (is == should) continue;
        return std::string(nameOf(component)) + " at " + std::to_string(x) + ", " + std::to_string(y) +
               " is " + std::to_string(is) + " and should be " + std::to_string(should);
      }
    }
  }
  return {};
}

}  // namespace qvs::validator
