// A media runtime without a card: sessions, handles, waiting, and what it tells the dispatcher.
#include "fakes/vpl/Runtime.h"

#include <cstring>
#include <iterator>
#include <thread>

#include "fakes/support/FaultScript.h"

namespace qvs::fakes {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

OpenCounts& vplCounts() {
  static OpenCounts counts("vpl");
  return counts;
}

std::optional<mfxStatus> vplFault(const char* call) {
  const Fault fault = faultScript().next(call);
  if (fault.kind == Fault::Kind::kStatus) return static_cast<mfxStatus>(fault.value);
  if (fault.kind == Fault::Kind::kLate) std::this_thread::sleep_for(milliseconds(fault.value));
  return {};
}

std::optional<mfxStatus> vplFault(const char* call, VplOperation& operation) {
  const Fault fault = faultScript().next(call);
  if (fault.kind == Fault::Kind::kStatus) return static_cast<mfxStatus>(fault.value);
  operation.ready = Clock::now() + milliseconds(faultScript().number("latency", 0));
  if (fault.kind == Fault::Kind::kLate) operation.ready += milliseconds(fault.value);
  operation.never = fault.kind == Fault::Kind::kNever;
  return {};
}

uint64_t lumaSum(const mfxFrameSurface1& surface) {
  uint64_t sum = 1;
  const size_t pitch = size_t{surface.Data.PitchHigh} << 16 | surface.Data.PitchLow;
  for (size_t y = 0; y < surface.Info.CropH; y += 3) {
    for (size_t x = 0; x < surface.Info.CropW; x += 5) sum = sum * 31 + surface.Data.Y[y * pitch + x];
  }
  return sum;
}

}  // namespace qvs::fakes

using namespace qvs::fakes;

_mfxSession::_mfxSession() {
  vplCounts().opened("session");
}

_mfxSession::~_mfxSession() {
  vplCounts().closed("session");
}

void _mfxSession::start(VplOperation operation, mfxSyncPoint* point) {
  operations.emplace(++last, std::move(operation));
  *point = reinterpret_cast<mfxSyncPoint>(last);
}

mfxStatus _mfxSession::wait(mfxSyncPoint point, mfxU32 wanted) {
  const auto found = operations.find(reinterpret_cast<uintptr_t>(point));
  if (found == operations.end()) return MFX_ERR_INVALID_HANDLE;
  VplOperation& operation = found->second;
  const auto until = Clock::now() + milliseconds(wanted);
  std::this_thread::sleep_until(operation.never ? until : std::min(operation.ready, until));
  if (operation.never || Clock::now() < operation.ready) return MFX_WRN_IN_EXECUTION;
  mfxStatus status = MFX_ERR_NONE;
  if (operation.surface != nullptr) {
    // Whoever overwrites a locked surface spoils a card's picture as well.
    if (operation.sum != 0 && operation.sum != lumaSum(*operation.surface))
      status = MFX_ERR_UNDEFINED_BEHAVIOR;
    --operation.surface->Data.Locked;
  }
  if (mfxBitstream* bits = operation.bits) {
    std::memcpy(bits->Data + bits->DataOffset + bits->DataLength, operation.coded.data(),
                operation.coded.size());
    bits->DataLength += static_cast<mfxU32>(operation.coded.size());
    bits->TimeStamp = operation.timestamp;
    bits->DecodeTimeStamp = operation.decodeTimestamp;
    bits->FrameType = operation.frameType;
    bits->PicStruct = MFX_PICSTRUCT_PROGRESSIVE;
  }
  operations.erase(found);
  return status;
}

namespace {

constexpr mfxU16 kMajor = 2, kMinor = 9;

bool inSoftware() {
  return faultScript().is("kind", "software");
}

mfxStatus openSession(mfxSession* session) {
  if (session == nullptr) return MFX_ERR_NULL_PTR;
  *session = nullptr;
  const int64_t most = faultScript().number("sessions", -1);
  if (most >= 0 && vplCounts().live("session") >= most) return MFX_ERR_MEMORY_ALLOC;
  *session = new _mfxSession;
  return MFX_ERR_NONE;
}

/// Everything that the description points to, kept for the process.
struct Description {
  mfxU32 color = MFX_FOURCC_NV12;
  mfxAccelerationMode mode = MFX_ACCEL_MODE_VIA_VAAPI;
  mfxDecoderDescription::decoder::decprofile::decmemdesc decoderMemory{};
  mfxDecoderDescription::decoder::decprofile decoderProfile{};
  mfxDecoderDescription::decoder decoders[2]{};
  mfxEncoderDescription::encoder::encprofile::encmemdesc encoderMemory{};
  mfxEncoderDescription::encoder::encprofile encoderProfile{};
  mfxEncoderDescription::encoder encoders[2]{};
  mfxImplDescription implementation{};
  mfxHDL handles[1] = {&implementation};

  Description() {
    const mfxRange32U sides{16, 8192, 2};
    decoderMemory = {MFX_RESOURCE_SYSTEM_SURFACE, sides, sides, {}, 1, &color};
    encoderMemory = {MFX_RESOURCE_SYSTEM_SURFACE, sides, sides, {}, 1, &color};
    decoderProfile.NumMemTypes = encoderProfile.NumMemTypes = 1;
    decoderProfile.MemDesc = &decoderMemory;
    encoderProfile.MemDesc = &encoderMemory;
    static constexpr mfxU32 kDecoded[] = {MFX_CODEC_AVC, MFX_CODEC_MPEG2};
    static constexpr mfxU32 kEncoded[] = {MFX_CODEC_AVC, MFX_CODEC_HEVC};
    for (int i = 0; i < 2; ++i) {
      decoders[i].CodecID = kDecoded[i];
      encoders[i].CodecID = kEncoded[i];
      decoders[i].NumProfiles = encoders[i].NumProfiles = 1;
      decoders[i].Profiles = &decoderProfile;
      encoders[i].Profiles = &encoderProfile;
    }
    mfxImplDescription& it = implementation;
    it.Version.Version = MFX_IMPLDESCRIPTION_VERSION;
    it.Impl = inSoftware() ? MFX_IMPL_TYPE_SOFTWARE : MFX_IMPL_TYPE_HARDWARE;
    it.AccelerationMode = inSoftware() ? MFX_ACCEL_MODE_NA : mode;
    it.ApiVersion.Major = kMajor;
    it.ApiVersion.Minor = kMinor;
    std::strcpy(it.ImplName, "a runtime of the tests");
    it.VendorID = 0x8086;
    it.Dev.Version.Version = MFX_DEVICEDESCRIPTION_VERSION;
    std::strcpy(it.Dev.DeviceID, "9a49/0");
    it.Dec.Version.Version = MFX_DECODERDESCRIPTION_VERSION;
    it.Dec.NumCodecs = 2;
    it.Dec.Codecs = decoders;
    it.Enc.Version.Version = MFX_ENCODERDESCRIPTION_VERSION;
    it.Enc.NumCodecs = 2;
    it.Enc.Codecs = encoders;
    it.AccelerationModeDescription.Version.Version = MFX_ACCELERATIONMODESCRIPTION_VERSION;
    it.AccelerationModeDescription.NumAccelerationModes = 1;
    it.AccelerationModeDescription.Mode = &mode;
  }
};

}  // namespace

// What a test asks of the runtime that is loaded in its own process.
QVS_VPL_EXPORT void qvsFakeScript(const char* text) {
  faultScript().set(text);
}
QVS_VPL_EXPORT int64_t qvsFakeLive() {
  return vplCounts().live();
}
QVS_VPL_EXPORT uint64_t qvsFakeCalls() {
  return faultScript().calls();
}
QVS_VPL_EXPORT const char* qvsFakeFaulty() {
  static std::string name;
  name = faultScript().faulty();
  return name.c_str();
}

QVS_VPL_EXPORT mfxHDL* MFXQueryImplsDescription(mfxImplCapsDeliveryFormat format, mfxU32* count) {
  static Description description;
  static mfxChar names[][40] = {"MFXInitialize",
                                "MFXClose",
                                "MFXQueryIMPL",
                                "MFXQueryVersion",
                                "MFXVideoENCODE_EncodeFrameAsync",
                                "MFXVideoDECODE_DecodeFrameAsync"};
  static mfxChar* list[std::size(names)];
  for (size_t i = 0; i < std::size(names); ++i) list[i] = names[i];
  static mfxImplementedFunctions functions{std::size(names), list};
  static mfxHDL functionHandles[] = {&functions};
  *count = 1;
  if (format == MFX_IMPLCAPS_IMPLEMENTEDFUNCTIONS) return functionHandles;
  if (format == MFX_IMPLCAPS_IMPLDESCSTRUCTURE) return description.handles;
  *count = 0;
  return nullptr;
}
QVS_VPL_EXPORT mfxStatus MFXReleaseImplDescription(mfxHDL) {
  return MFX_ERR_NONE;
}
QVS_VPL_EXPORT mfxStatus MFXInitialize(mfxInitializationParam, mfxSession* session) {
  QVS_VPL_CALL(MFXInitialize);
  return openSession(session);
}
QVS_VPL_EXPORT mfxStatus MFXInitEx(mfxInitParam, mfxSession* session) {
  QVS_VPL_CALL(MFXInitEx);
  return openSession(session);
}
QVS_VPL_EXPORT mfxStatus MFXInit(mfxIMPL, mfxVersion*, mfxSession* session) {
  QVS_VPL_CALL(MFXInit);
  return openSession(session);
}
QVS_VPL_EXPORT mfxStatus MFXCloneSession(mfxSession, mfxSession* clone) {
  return openSession(clone);
}
// What closes closes, whatever it answers: a client can't try again.
QVS_VPL_EXPORT mfxStatus MFXClose(mfxSession session) {
  const auto answer = vplFault("MFXClose");
  if (session == nullptr) return MFX_ERR_INVALID_HANDLE;
  delete session;
  return answer.value_or(MFX_ERR_NONE);
}
QVS_VPL_EXPORT mfxStatus MFXQueryIMPL(mfxSession, mfxIMPL* kind) {
  QVS_VPL_CALL(MFXQueryIMPL);
  *kind = inSoftware() ? MFX_IMPL_SOFTWARE : MFX_IMPL_HARDWARE | MFX_IMPL_VIA_VAAPI;
  return MFX_ERR_NONE;
}
QVS_VPL_EXPORT mfxStatus MFXQueryVersion(mfxSession, mfxVersion* version) {
  QVS_VPL_CALL(MFXQueryVersion);
  version->Major = kMajor;
  version->Minor = kMinor;
  return MFX_ERR_NONE;
}
QVS_VPL_EXPORT mfxStatus MFXJoinSession(mfxSession session, mfxSession child) {
  child->parent = session;
  return MFX_ERR_NONE;
}
QVS_VPL_EXPORT mfxStatus MFXDisjoinSession(mfxSession session) {
  session->parent = nullptr;
  return MFX_ERR_NONE;
}
QVS_VPL_EXPORT mfxStatus MFXSetPriority(mfxSession, mfxPriority) {
  return MFX_ERR_NONE;
}
QVS_VPL_EXPORT mfxStatus MFXGetPriority(mfxSession, mfxPriority* priority) {
  *priority = MFX_PRIORITY_NORMAL;
  return MFX_ERR_NONE;
}
QVS_VPL_EXPORT mfxStatus MFXVideoCORE_SetHandle(mfxSession session, mfxHandleType type, mfxHDL handle) {
  QVS_VPL_CALL(MFXVideoCORE_SetHandle);
  if (type == MFX_HANDLE_VA_DISPLAY) session->handle = handle;
  return MFX_ERR_NONE;
}
QVS_VPL_EXPORT mfxStatus MFXVideoCORE_GetHandle(mfxSession session, mfxHandleType type, mfxHDL* handle) {
  if (type != MFX_HANDLE_VA_DISPLAY || session->display() == nullptr) return MFX_ERR_NOT_FOUND;
  *handle = session->display();
  return MFX_ERR_NONE;
}
QVS_VPL_EXPORT mfxStatus MFXVideoCORE_QueryPlatform(mfxSession, mfxPlatform* platform) {
  *platform = {};
  platform->CodeName = MFX_PLATFORM_TIGERLAKE;
  platform->DeviceId = 0x9a49;
  return MFX_ERR_NONE;
}
QVS_VPL_EXPORT mfxStatus MFXVideoCORE_SetFrameAllocator(mfxSession, mfxFrameAllocator*) {
  return MFX_ERR_NONE;
}
QVS_VPL_EXPORT mfxStatus MFXVideoCORE_SyncOperation(mfxSession session, mfxSyncPoint point,
                                                    mfxU32 milliseconds) {
  QVS_VPL_CALL(MFXVideoCORE_SyncOperation);
  return point == nullptr ? MFX_ERR_NULL_PTR : session->wait(point, milliseconds);
}
