// Parameter sessions of a card.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "capture/decklink/BlackMagicKeys.h"
#include "capture/decklink/CaptureDeviceBlackMagic.h"
#include "contract/ParameterType.h"
#include "log/LogGlobalLogger.h"

namespace qvs {

namespace {

using Owner = BlackMagicKeyOwner;
using Type = BlackMagicKeyType;

/// Reads a number of `store`, which is the card's attributes or its settings.
template <typename Store>
bool readLong(Store& store, const BlackMagicKeyRow& row, int64_t* value) {
  if (row.type == Type::kInt) return store.GetInt(row.id, value) == S_OK;
  bool flag = false;
  const bool there = store.GetFlag(row.id, &flag) == S_OK;
  if (there) *value = flag ? 1 : 0;
  return there;
}

}  // namespace

uint32_t CaptureDeviceBlackMagic::startSessionParameterValues(uint32_t* sessionId) {
  BlackMagicDevicePtrs ptrs;
  const uint32_t status = acquireDevicePtrs(&ptrs);
  if (status != kCardDone) return status;
  const std::lock_guard guard(ptrsLock);
  *sessionId = ++nextParameterSessionId;
  parameterSessions[*sessionId] = {std::move(ptrs)};
  return kCardDone;
}

uint32_t CaptureDeviceBlackMagic::endSessionParameterValues(uint32_t sessionId) {
  BlackMagicParameterSession ended;
  {
    const std::lock_guard guard(ptrsLock);
    const auto found = parameterSessions.find(sessionId);
    if (found == parameterSessions.end()) return kFailure;
    ended = std::move(found->second);
    parameterSessions.erase(found);
  }
  releaseDevicePtrs();
  return kSuccess;
}

bool CaptureDeviceBlackMagic::findSession(uint32_t sessionId, BlackMagicDevicePtrs* ptrs) {
  const std::lock_guard guard(ptrsLock);
  const auto found = parameterSessions.find(sessionId);
  if (found != parameterSessions.end()) *ptrs = found->second.ptrs;
  return found != parameterSessions.end();
}

uint32_t CaptureDeviceBlackMagic::saveParameterValues(uint32_t sessionId) {
  BlackMagicDevicePtrs ptrs;
  if (!findSession(sessionId, &ptrs)) return kFailure;
  return ptrs.deckLinkConfiguration->WriteConfigurationToPreferences() == S_OK ? kSuccess : kFailure;
}

bool CaptureDeviceBlackMagic::setOwn(uint32_t key, double value) {
  const auto count = static_cast<uint32_t>(std::clamp(value, 0.0, 4294967295.0));
  switch (key) {
    case kKeyVolumeLevel:
      volumeLevel = std::isfinite(value) ? std::clamp(value, -kVolumeLevelMax, kVolumeLevelMax) : 0;
      return true;
    case kKeyEmptyFrameWidth:
      setEmptyFrameWidth(count);
      return true;
    case kKeyEmptyFrameHeight:
      setEmptyFrameHeight(count);
      return true;
    case kKeyAudioCaptureChannelCount:
      audioCaptureChannelCount = count;
      return true;
    case kKeyDeinterlaceMode:
      setDeinterlaceMode(count);
      return true;
    case kKeyGpuid:
      setGPUID(static_cast<int32_t>(std::clamp(value, -2147483648.0, 2147483647.0)));
      return true;
    default:
      return false;
  }
}

bool CaptureDeviceBlackMagic::getOwn(uint32_t key, double* value) {
  switch (key) {
    case kKeyVolumeLevel:
      *value = volumeLevel;
      return true;
    case kKeyEmptyFrameWidth:
      *value = getEmptyFrameWidth();
      return true;
    case kKeyEmptyFrameHeight:
      *value = getEmptyFrameHeight();
      return true;
    case kKeyAudioCaptureChannelCount:
      *value = audioCaptureChannelCount;
      return true;
    case kKeyDeinterlaceMode:
      *value = getDeinterlaceMode();
      return true;
    case kKeyGpuid:
      *value = getGPUID();
      return true;
    default:
      return false;
  }
}

uint32_t CaptureDeviceBlackMagic::setParameterValueLong(uint32_t sessionId, uint32_t key, int64_t value) {
  BlackMagicDevicePtrs ptrs;
  if (!findSession(sessionId, &ptrs)) return kFailure;
  const BlackMagicKeyRow* const row = findBlackMagicKey(key);
  if (row == nullptr || !row->isLong()) return kSuccess;
  if (row->owner == Owner::kDevice) return setOwn(key, static_cast<double>(value)) ? kSuccess : kFailure;
  if (row->owner != Owner::kConfiguration) return kSuccess;  // to be read alone
  IDeckLinkConfiguration& settings = *ptrs.deckLinkConfiguration.get();
  return written(key, row->type == Type::kFlag ? settings.SetFlag(row->id, value != 0)
                                               : settings.SetInt(row->id, value));
}

uint32_t CaptureDeviceBlackMagic::setParameterValueDouble(uint32_t sessionId, uint32_t key, double value) {
  BlackMagicDevicePtrs ptrs;
  if (!findSession(sessionId, &ptrs)) return kFailure;
  const BlackMagicKeyRow* const row = findBlackMagicKey(key);
  if (row == nullptr || row->type != Type::kFloat) return kSuccess;
  if (row->owner == Owner::kDevice) return setOwn(key, value) ? kSuccess : kFailure;
  if (row->owner != Owner::kConfiguration) return kSuccess;
  return written(key, ptrs.deckLinkConfiguration->SetFloat(row->id, value));
}

uint32_t CaptureDeviceBlackMagic::setParameterValueString(uint32_t sessionId, uint32_t key,
                                                          const std::string& value) {
  BlackMagicDevicePtrs ptrs;
  if (!findSession(sessionId, &ptrs)) return kFailure;
  const BlackMagicKeyRow* const row = findBlackMagicKey(key);
  if (row == nullptr || row->type != Type::kString) return kSuccess;
  return written(key, ptrs.deckLinkConfiguration->SetString(row->id, value.c_str()));
}

uint32_t CaptureDeviceBlackMagic::written(uint32_t key, HRESULT result) const {
  if (result == S_OK) return kSuccess;
  loggerOrGlobal(logger)->warn(
      fmt::format("CaptureDeviceBlackMagic.setParameterValue[{{context}}]: The card refuses key {}: {:#010x}",
                  key, static_cast<uint32_t>(result)));
  return kFailure;
}

uint32_t CaptureDeviceBlackMagic::getParameterValueType(uint32_t, uint32_t key, uint32_t* length) {
  if (length != nullptr) *length = 0;
  const BlackMagicKeyRow* const row = findBlackMagicKey(key);
  if (row == nullptr || row->type == Type::kString) return kParameterUnknown;
  return row->isLong() ? kParameterLong : kParameterDouble;
}

uint32_t CaptureDeviceBlackMagic::getParameterValueLong(uint32_t sessionId, uint32_t key, int64_t* value) {
  *value = 0;
  BlackMagicDevicePtrs ptrs;
  if (!findSession(sessionId, &ptrs)) return kFailure;
  const BlackMagicKeyRow* const row = findBlackMagicKey(key);
  if (row == nullptr || !row->isLong() || row->owner == Owner::kNobody) return kSuccess;
  if (row->owner == Owner::kDevice) {
    double own = 0;
    getOwn(key, &own);
    *value = static_cast<int64_t>(own);
    return kSuccess;
  }
  const bool there = row->owner == Owner::kAttribute
                         ? readLong(*ptrs.deckLinkAttributes.get(), *row, value)
                         : readLong(*ptrs.deckLinkConfiguration.get(), *row, value);
  return there ? kSuccess : kFailure;
}

uint32_t CaptureDeviceBlackMagic::getParameterValueDouble(uint32_t sessionId, uint32_t key, double* value) {
  *value = 0;
  BlackMagicDevicePtrs ptrs;
  if (!findSession(sessionId, &ptrs)) return kFailure;
  const BlackMagicKeyRow* const row = findBlackMagicKey(key);
  if (row == nullptr || row->type != Type::kFloat) return kSuccess;
  if (row->owner == Owner::kDevice) return getOwn(key, value) ? kSuccess : kFailure;
  const HRESULT result = row->owner == Owner::kAttribute
                             ? ptrs.deckLinkAttributes->GetFloat(row->id, value)
                             : ptrs.deckLinkConfiguration->GetFloat(row->id, value);
  return result == S_OK ? kSuccess : kFailure;
}

uint32_t CaptureDeviceBlackMagic::getParameterValueString(uint32_t sessionId, uint32_t key,
                                                          std::string* value) {
  value->clear();
  BlackMagicDevicePtrs ptrs;
  if (!findSession(sessionId, &ptrs)) return kFailure;
  const BlackMagicKeyRow* const row = findBlackMagicKey(key);
  if (row == nullptr || row->type != Type::kString) return kSuccess;
  *value = deckLinkText(
      [&](const char** text) { return ptrs.deckLinkConfiguration->GetString(row->id, text); }, "");
  return kSuccess;
}

}  // namespace qvs
