// Scaling through the media runtime.
#include "QuickSyncScaler.h"

#include <qvs/plugin.h>

#include <chrono>
#include <thread>
#include <utility>

#include "MfxStatus.h"

namespace qvs::plugins {
namespace {

constexpr mfxU32 kUsualRate = 25;
constexpr mfxU16 kFields = MFX_PICSTRUCT_FIELD_TFF | MFX_PICSTRUCT_FIELD_BFF;

bool isWoven(const mfxFrameInfo& info) {
  return (info.PicStruct & MFX_PICSTRUCT_PROGRESSIVE) == 0 && (info.PicStruct & kFields) != 0;
}

/// Whether the runtime has to be set up anew.
bool differs(const mfxFrameInfo& a, const mfxFrameInfo& b) {
  return a.Width != b.Width || a.Height != b.Height || isWoven(a) != isWoven(b);
}

}  // namespace

int32_t QuickSyncScaler::fail(int32_t status, std::string why) {
  problem = std::move(why);
  return status;
}

int32_t QuickSyncScaler::open(int32_t gpu) {
  close();
  return session.open(gpu, problem);
}

void QuickSyncScaler::stop() {
  if (running) MFXVideoVPP_Close(session);
  running = false;
}

void QuickSyncScaler::close() {
  stop();
  session.close();
}

int32_t QuickSyncScaler::setUp(const mfxFrameInfo& from, const mfxFrameInfo& to) {
  stop();
  mfxVideoParam parameters{};
  parameters.AsyncDepth = 1;
  parameters.IOPattern = MFX_IOPATTERN_IN_SYSTEM_MEMORY | MFX_IOPATTERN_OUT_SYSTEM_MEMORY;
  mfxFrameInfo& input = parameters.vpp.In;
  input = from;
  if (input.FrameRateExtN == 0 || input.FrameRateExtD == 0) {
    input.FrameRateExtN = kUsualRate;
    input.FrameRateExtD = 1;
  }
  if (!isWoven(input)) input.PicStruct = MFX_PICSTRUCT_PROGRESSIVE;
  mfxFrameInfo& output = parameters.vpp.Out;
  output = to;
  output.PicStruct = MFX_PICSTRUCT_PROGRESSIVE;
  // Another rate would make other pictures than went in.
  output.FrameRateExtN = input.FrameRateExtN;
  output.FrameRateExtD = input.FrameRateExtD;
  mfxExtVPPDeinterlacing fields{};
  fields.Header = {MFX_EXTBUFF_VPP_DEINTERLACING, sizeof fields};
  fields.Mode = MFX_DEINTERLACING_BOB;  // looks at no other picture, so each comes out at once
  mfxExtBuffer* attached[] = {&fields.Header};
  if (isWoven(input)) {
    parameters.ExtParam = attached;
    parameters.NumExtParam = 1;
  }
  if (const mfxStatus status = MFXVideoVPP_Query(session, &parameters, &parameters); status < MFX_ERR_NONE) {
    return fail(QVS_PLUGIN_CREATE_VPP, mfxProblem("MFXVideoVPP_Query", status));
  }
  if (const mfxStatus status = MFXVideoVPP_Init(session, &parameters); status < MFX_ERR_NONE) {
    return fail(QVS_PLUGIN_INIT_VPP, mfxProblem("MFXVideoVPP_Init", status));
  }
  running = true;
  in = from;
  return QVS_PLUGIN_OK;
}

int32_t QuickSyncScaler::scale(mfxFrameSurface1& from, mfxFrameSurface1& to, const Placement& placement) {
  const mfxFrameInfo fromInfo = from.Info, toInfo = to.Info;
  // The surface's own picture may begin inside it.
  Part part = placement.from;
  part.x += fromInfo.CropX / 2u * 2u;
  part.y += fromInfo.CropY / 2u * 2u;
  part.putInto(from.Info);
  placement.to.putInto(to.Info);
  int32_t status = running && !differs(in, from.Info) ? QVS_PLUGIN_OK : setUp(from.Info, to.Info);
  if (status == QVS_PLUGIN_OK) status = run(from, to);
  from.Info = fromInfo;
  to.Info = toInfo;
  return status;
}

int32_t QuickSyncScaler::run(mfxFrameSurface1& from, mfxFrameSurface1& to) {
  using Clock = std::chrono::steady_clock;
  const auto deadline = Clock::now() + std::chrono::milliseconds(patience.busyTimeout);
  mfxSyncPoint point = nullptr;
  mfxStatus status = MFX_ERR_NONE;
  while ((status = MFXVideoVPP_RunFrameVPPAsync(session, &from, &to, nullptr, &point)) ==
             MFX_WRN_DEVICE_BUSY &&
         Clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  if (status < MFX_ERR_NONE || point == nullptr) {
    return fail(QVS_PLUGIN_INIT_VPP, mfxProblem("MFXVideoVPP_RunFrameVPPAsync", status));
  }
  // What the runtime still works on may not be touched: after a wait in vain nothing more is given to it.
  status = session.sync(point, patience.syncTimeout);
  if (status == MFX_ERR_NONE) return QVS_PLUGIN_OK;
  return fail(QVS_PLUGIN_INIT_VPP, mfxProblem("MFXVideoCORE_SyncOperation", status));
}

}  // namespace qvs::plugins
