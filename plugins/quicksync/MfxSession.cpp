// Opening and closing a session of the media runtime.
#include "MfxSession.h"

#include <qvs/plugin.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "MfxStatus.h"

namespace qvs::plugins {

int32_t MfxSession::open(int32_t gpu, std::string& problem) {
  close();
  loader = MFXLoad();
  if (loader == nullptr) {
    problem = "MFXLoad: no dispatcher";
    return QVS_PLUGIN_MFX_INIT_NULL;
  }
  // The dispatcher lists hardware before software.
  if (const mfxStatus status = MFXCreateSession(loader, 0, &session); status < MFX_ERR_NONE) {
    problem = mfxProblem("MFXCreateSession", status,
                         status == MFX_ERR_NOT_FOUND ? "no media runtime is installed" : "");
    return QVS_PLUGIN_MFX_INIT;
  }
  if (session == nullptr) {
    problem = "MFXCreateSession: no session";
    return QVS_PLUGIN_MFX_INIT_NULL;
  }
  mfxIMPL kind = 0;
  if (const mfxStatus status = MFXQueryIMPL(session, &kind); status < MFX_ERR_NONE) {
    problem = mfxProblem("MFXQueryIMPL", status);
    return QVS_PLUGIN_MFX_INIT;
  }
  if (const mfxStatus status = MFXQueryVersion(session, &version); status < MFX_ERR_NONE) {
    problem = mfxProblem("MFXQueryVersion", status);
    return QVS_PLUGIN_MFX_INIT;
  }
  if (MFX_IMPL_BASETYPE(kind) == MFX_IMPL_SOFTWARE) {
    problem = "the only media runtime works in software";
    return QVS_PLUGIN_SOFTWARE_ONLY;
  }
  if (const int32_t status = display.open(gpu, problem); status != QVS_PLUGIN_OK) return status;
  if (const mfxStatus status = MFXVideoCORE_SetHandle(session, MFX_HANDLE_VA_DISPLAY, display.get());
      status < MFX_ERR_NONE) {
    problem = mfxProblem("MFXVideoCORE_SetHandle", status);
    return QVS_PLUGIN_SET_HANDLE;
  }
  return QVS_PLUGIN_OK;
}

void MfxSession::close() {
  if (session != nullptr) MFXClose(session);
  session = nullptr;
  if (loader != nullptr) MFXUnload(loader);
  loader = nullptr;
  display.close();
}

// Some runtimes come back from a wait before its time.
mfxStatus MfxSession::sync(mfxSyncPoint point, int64_t milliseconds) const {
  const auto begin = std::chrono::steady_clock::now();
  int64_t left = milliseconds;
  while (true) {
    const mfxStatus status = MFXVideoCORE_SyncOperation(session, point, static_cast<mfxU32>(left));
    if (status != MFX_WRN_IN_EXECUTION) return status;
    const auto waited =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin);
    left = milliseconds - waited.count();
    if (left <= 0) return status;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

int32_t probeMfx(std::string& text, uint32_t& major, uint32_t& minor) {
  MfxSession session;
  const int32_t status = session.open(-1, text);
  if (status != QVS_PLUGIN_OK) return status;
  major = session.getVersion().Major;
  minor = session.getVersion().Minor;
  text = "media runtime " + std::to_string(major) + "." + std::to_string(minor);
  return status;
}

}  // namespace qvs::plugins
