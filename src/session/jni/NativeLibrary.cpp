// Life of the library and of sessions.

#include <memory>
#include <vector>

#include "hardware/HardwareInspector.h"
#include "hardware/IntelDRMSingleton.h"
#include "log/LogGlobalLogger.h"
#include "session/jni/Holders.h"
#include "session/jni/NativeEntry.h"
#include "session/jni/RecorderStart.h"
#include "session/jni/records/CommonRecords.h"
#include "session/jni/StreamContext.h"
#include "session/jni/Utf.h"
#include "session/notify/TranscoderSessionNotifyManager.h"
#include "video/encoders/hosts/VideoEncoderH26XNVENCLock.h"
#include "video/scaling/device/cuda/CudaWrapper.h"
#include "video/scaling/device/VideoFrameIntrinsicScalerSingleton.h"

namespace qvs {
namespace {

jlong createSession(JNIEnv* env, jobject context) {
  return guarded(
      QVS_LABEL(createInstance),
      [&]() -> jlong {
        auto session = std::make_unique<TranscoderSession>();
        setMediaStreamContext(env, context, session->getMediaStreamContext());
        const auto shared = SessionRegistry::getInstance().add(std::move(session));
        TranscoderSessionNotifyManager::getInstance()->notifySessionListenersCreate(
            shared->getSessionId(), shared->getMediaStreamContext());
        return shared->getSessionId();
      },
      jlong{0});
}

/// Adds the statements to a Java list; how many it took. Fewer than there are when the list or the class of
/// its items can't be used, memory failed, or the list refused.
size_t addStatements(JNIEnv* env, jobject logStatements, const std::vector<LogStatement>& statements) {
  const JavaList list(env, logStatements);
  const LocalRef<jclass> cls = findClass(env, kLogStatement.className);
  const jmethodID init = findMethod(env, cls.get(), "<init>", "()V");
  if (!list || init == nullptr) return 0;
  const RecordFields fields(env, cls.get(), kLogStatement);
  for (size_t i = 0; i < statements.size(); ++i) {
    const LocalRef<jobject> item(env, env->NewObject(cls.get(), init));
    if (clearFailure(env)) return i;
    fields.write(item.get(), statements[i]);
    if (!list.add(item.get())) return i;
  }
  return statements.size();
}

/// Moves what waits in the process's log, then in the session's, to a Java list. False when the list took
/// less; the rest waits on.
bool deliverStatements(JNIEnv* env, LogCollector* own, jobject logStatements) {
  LogCollector& global = LogGlobalLogger::getInstance()->getLogCollector();
  std::vector<LogStatement> statements;
  global.getLogStatements(statements);
  const size_t globalCount = statements.size();
  for (LogStatement& statement : statements) {
    statement.contextType = kLogContextGlobal;
    statement.contextIndex = 0;
  }
  if (own != nullptr) own->getLogStatements(statements);
  if (statements.empty()) return true;
  const size_t taken = addStatements(env, logStatements, statements);
  for (size_t i = taken; i < statements.size(); ++i) {
    const LogStatement& left = statements[i];
    (i < globalCount ? global : *own).log(left.contextType, left.contextIndex, left.level, left.str);
  }
  return taken == statements.size();
}

}  // namespace
}  // namespace qvs

using namespace qvs;

QVS_NATIVE(nativeInitialize)(JNIEnv* env, jobject) {
  return guarded(
      QVS_LABEL(nativeInitialize),
      [&]() -> jlong {
        startRecorderIfAsked(env);
        // Singletons are made here, one after the other, so that no two threads race to make one. The
        // inventory looks at what the steps before it have loaded.
        LogGlobalLogger::getLogger();
        IntelDRMSingleton::getInstance();
        cudaWrapperInit();
        VideoFrameIntrinsicScalerSingleton::getInstance()->initialize();
        HardwareInspector::getInstance()->inspect();
        VideoEncoderH26XNVENCLock::getInstance();
        TranscoderSessionNotifyManager::getInstance();
        return 0;
      },
      kEntryFailure);
}

QVS_NATIVE(nativeShutdown)(JNIEnv*, jobject) {
  return 0;
}

QVS_NATIVE(setNativeLibPath)(JNIEnv* env, jobject, jlong pathIndex, jstring nativePath) {
  return guarded(
      QVS_LABEL(setNativeLibPath),
      [&]() -> jlong {
        const Utf path(env, nativePath);
        if (path.get() == nullptr) return 0;
        HardwareInspector::getInstance()->setNativePath(pathIndex, path.get());
        if (pathIndex == HardwareInspector::kNativePath) {
          VideoFrameIntrinsicScalerSingleton::getInstance()->setNativePath(0, path.get());
        }
        return 0;
      },
      kEntryFailure);
}

QVS_NATIVE(getHardwareInfoJSON)(JNIEnv* env, jobject, jobject jsonObj) {
  return guarded(
      QVS_LABEL(getHardwareInfoJSON),
      [&]() -> jlong {
        std::string json;
        HardwareInspector::getInstance()->getJSON(json);
        if (!writeHolder(env, jsonObj, json)) {
          failEntry(QVS_LABEL(getHardwareInfoJSON), {.reason = "The object for the report lacks its field"});
        }
        return 0;
      },
      kEntryFailure);
}

QVS_NATIVE(createInstance__)(JNIEnv* env, jobject) {
  return createSession(env, nullptr);
}

QVS_NATIVE(createInstance__Lcom_zarvo_qvs_transcoder_model_TranscoderNativeStreamContext_2)
(JNIEnv* env, jobject, jobject nativeMediaStreamContext) {
  return createSession(env, nativeMediaStreamContext);
}

QVS_NATIVE(initInstance)(JNIEnv*, jobject, jlong classPtr) {
  callSession(QVS_LABEL(initInstance), classPtr, &TranscoderSession::initialize);
  return 0;
}

QVS_NATIVE(destroyInstance)(JNIEnv*, jobject, jlong classPtr) {
  if (classPtr == 0) return 0;
  return guarded(
      QVS_LABEL(destroyInstance),
      [&]() -> jlong {
        if (SessionRegistry::getInstance().remove(classPtr)) return 0;
        return failEntry(QVS_LABEL(destroyInstance), {.reason = kNoSession, .number = classPtr});
      },
      kEntryFailure);
}

QVS_NATIVE(resetPipeline)(JNIEnv*, jobject, jlong classPtr) {
  return callSession(QVS_LABEL(resetPipeline), classPtr, &TranscoderSession::resetPipeline);
}

QVS_NATIVE(getLogStatements)(JNIEnv* env, jobject, jlong classPtr, jobject logStatements) {
  return guarded(
      QVS_LABEL(getLogStatements),
      [&]() -> jlong {
        // A handle that names no session fails, and the process's lines are delivered all the same.
        const std::shared_ptr<TranscoderSession> session = SessionRegistry::getInstance().find(classPtr);
        const bool stray = classPtr != 0 && !session;
        if (stray) failEntry(QVS_LABEL(getLogStatements), {.reason = kNoSession, .number = classPtr});
        const bool delivered =
            deliverStatements(env, session ? &session->getLogCollector() : nullptr, logStatements);
        if (!delivered) {
          failEntry(QVS_LABEL(getLogStatements),
                    {.reason = "The list took less than there is; the rest waits"});
        }
        return delivered && !stray ? 0 : kEntryFailure;
      },
      kEntryFailure);
}
