#pragma once

#include <jni.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>

#include "session/jni/recorder/ClassTable.h"
#include "session/jni/recorder/NativeTable.h"
#include "session/jni/recorder/RecordingFile.h"

namespace qvs {

/// Writes every call of the library's natives into a file, with what went in and what came out. While it runs, functions
/// of its own stand in the natives' place; else the library is as if it weren't there. One a process, never destroyed.
class CallRecorder {
 public:
  static constexpr uint64_t kDefaultBytes = uint64_t{1} << 30;

  static CallRecorder& getInstance();

  /// Empty, or why no recording was begun.
  std::string start(JNIEnv* env, const std::string& path, uint64_t maxBytes);
  void stop(JNIEnv* env);

 private:
  struct Call;

  CallRecorder() = default;
  static void onCall(ffi_cif* form, void* result, void** arguments, void* native);
  void call(const Native& native, void* result, void** arguments);
  void enter(Call& call);
  void leave(Call& call);
  void writeArguments(Call& call);
  void writeAnswers(Call& call);
  void append(RecordingFile::Stream stream, const FrameBuffer& frame, int64_t session);
  void describeProcess();
  void describeNatives();

  std::mutex lock;  ///< of starting and stopping
  std::atomic<bool> isRecording = false;
  std::atomic<uint64_t> nextCall = 1;
  std::chrono::steady_clock::time_point begin;
  ClassTable classes;
  NativeTable natives;
  RecordingFile file;
};

}  // namespace qvs
