// Recording the calls of the natives.
#include "session/jni/recorder/CallRecorder.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string_view>
#include <vector>

#include "platform/Guard.h"
#include "session/jni/LocalRef.h"
#include "session/jni/Lookup.h"
#include "session/jni/recorder/ValueWriter.h"

namespace qvs {
namespace {

constexpr uint32_t kFormatVersion = 1;

/// The frames of one call, and where its objects lie in the first.
struct Frames {
  struct Part {
    size_t begin;
    size_t end;
  };
  FrameBuffer entry;
  FrameBuffer exit;
  std::vector<Part> objects;
};

/// A list of the host's may call back into the library: each depth has frames of its own.
class FramesOfThread {
 public:
  static FramesOfThread& get() {
    thread_local FramesOfThread frames;
    return frames;
  }
  Frames& push() {
    if (depth == frames.size()) frames.push_back(std::make_unique<Frames>());
    return *frames[depth++];
  }
  void pop() { --depth; }

 private:
  std::vector<std::unique_ptr<Frames>> frames;
  size_t depth = 0;
};

uint32_t threadNumber() {
  static std::atomic<uint32_t> last = 0;
  thread_local const uint32_t number = ++last;
  return number;
}

}  // namespace

struct CallRecorder::Call {
  const Native& native;
  JNIEnv* env;
  void** arguments;  ///< behind environment and class
  const int64_t* result;
  Frames& frames;
  uint64_t number = 0;

  int64_t session() const {
    return native.takesSession() ? *static_cast<const jlong*>(arguments[0]) : RecordingFile::kProcess;
  }
  RecordingFile::Stream stream() const {
    return native.isPerFrame() ? RecordingFile::Stream::kRing : RecordingFile::Stream::kSetup;
  }
};

CallRecorder& CallRecorder::getInstance() {
  static CallRecorder& instance = *new CallRecorder;
  return instance;
}

std::string CallRecorder::start(JNIEnv* env, const std::string& path, uint64_t maxBytes) {
  const std::lock_guard<std::mutex> guard(lock);
  if (isRecording) return "a recording is under way: " + file.path();
  if (!classes.prepare(env)) return "the virtual machine lacks what a recording takes";
  std::string trouble = natives.prepare(env, classes, &CallRecorder::onCall);
  if (trouble.empty()) trouble = file.open(path, maxBytes);
  if (!trouble.empty()) return trouble;
  begin = std::chrono::steady_clock::now();
  isRecording = true;
  describeProcess();
  describeNatives();
  classes.listen([this](const FrameBuffer& definition) {
    append(RecordingFile::Stream::kDefinitions, definition, RecordingFile::kProcess);
  });
  if (natives.bind(env, true)) return {};
  isRecording = false;
  file.close();
  return "the virtual machine refuses to have its natives replaced";
}

void CallRecorder::stop(JNIEnv* env) {
  const std::lock_guard<std::mutex> guard(lock);
  if (!isRecording.exchange(false)) return;
  natives.bind(env, false);
  classes.listen({});
  file.close();
}

void CallRecorder::describeProcess() {
  FrameBuffer frame;
  frame.put(FrameKind::kProcess);
  frame.put(kFormatVersion);
  frame.put(static_cast<uint32_t>(getpid()));
  std::vector<std::string_view> ours;
  for (char** variable = environ; *variable != nullptr; ++variable)
    if (std::string_view(*variable).starts_with("QVS_")) ours.emplace_back(*variable);
  frame.put(static_cast<uint16_t>(ours.size()));
  for (const std::string_view variable : ours) frame.putText(variable);
  append(RecordingFile::Stream::kDefinitions, frame, RecordingFile::kProcess);
}

void CallRecorder::describeNatives() {
  for (const Native& native : natives.all()) {
    FrameBuffer frame;
    frame.put(FrameKind::kNative);
    frame.put(native.number);
    frame.putText(native.className);
    frame.putText(native.name);
    frame.putText(native.signature);
    append(RecordingFile::Stream::kDefinitions, frame, RecordingFile::kProcess);
  }
}

void CallRecorder::append(RecordingFile::Stream stream, const FrameBuffer& frame, int64_t session) {
  if (file.append(stream, frame.all(), session) || !isRecording.exchange(false)) return;
  std::fprintf(stderr, "qvs: the recording %s ends here: no room for more\n", file.path().c_str());
}

void CallRecorder::onCall(ffi_cif*, void* result, void** arguments, void* native) {
  getInstance().call(*static_cast<const Native*>(native), result, arguments);
}

void CallRecorder::call(const Native& native, void* result, void** arguments) {
  auto* form = const_cast<ffi_cif*>(&native.form);  // libffi's own form; it isn't changed
  const auto function = reinterpret_cast<void (*)()>(native.function);
  if (!isRecording.load(std::memory_order_acquire)) return ffi_call(form, function, result, arguments);
  FramesOfThread& frames = FramesOfThread::get();
  Call call{native, *static_cast<JNIEnv**>(arguments[0]), arguments + 2, static_cast<const int64_t*>(result),
            frames.push()};
  // The frames of a call that fails to be written are missing; the call itself goes on.
  guarded("CallRecorder::enter", [&] { enter(call); });
  ffi_call(form, function, result, arguments);
  guarded("CallRecorder::leave", [&] { leave(call); });
  frames.pop();
}

void CallRecorder::enter(Call& call) {
  FrameBuffer& frame = call.frames.entry;
  frame.clear();
  call.frames.objects.clear();
  call.number = nextCall++;
  const auto time = std::chrono::steady_clock::now() - begin;
  frame.put(FrameKind::kEnter);
  frame.put(call.number);
  frame.put(threadNumber());
  frame.put(static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(time).count()));
  frame.put(call.native.number);
  writeArguments(call);
  append(call.stream(), frame, call.native.creates() ? RecordingFile::kNoSession : call.session());
}

void CallRecorder::writeArguments(Call& call) {
  FrameBuffer& frame = call.frames.entry;
  ValueWriter writer(call.env, classes, frame);
  for (size_t i = 0; i < call.native.parameters.size(); ++i) {
    const void* argument = call.arguments[i];
    switch (call.native.parameters[i]) {
      case 'J':
        frame.put(*static_cast<const jlong*>(argument));
        break;
      case 'I':
        frame.put(*static_cast<const jint*>(argument));
        break;
      case 'Z':
        frame.put(*static_cast<const jboolean*>(argument));
        break;
      case 'D':
        frame.put(*static_cast<const jdouble*>(argument));
        break;
      default: {
        const size_t before = frame.size();
        writer.write(*static_cast<const jobject*>(argument));
        call.frames.objects.push_back({before, frame.size()});
      }
    }
  }
}

void CallRecorder::leave(Call& call) {
  if (call.number == 0) return;
  JNIEnv* env = call.env;
  const LocalRef<jthrowable> thrown(env, env->ExceptionOccurred());
  if (thrown) env->ExceptionClear();
  FrameBuffer& frame = call.frames.exit;
  frame.clear();
  frame.put(FrameKind::kExit);
  frame.put(call.number);
  frame.put(*call.result);
  frame.put(static_cast<uint8_t>(thrown ? 1 : 0));
  writeAnswers(call);
  append(call.stream(), frame, call.native.creates() ? *call.result : call.session());
  if (call.native.destroys()) file.sessionEnded(call.session());
  if (thrown) env->Throw(thrown.get());
}

void CallRecorder::writeAnswers(Call& call) {
  FrameBuffer& frame = call.frames.exit;
  ValueWriter writer(call.env, classes, frame);
  auto part = call.frames.objects.begin();
  for (size_t i = 0; i < call.native.parameters.size(); ++i) {
    if (call.native.parameters[i] != 'L') continue;
    const size_t before = frame.size();
    writer.write(*static_cast<const jobject*>(call.arguments[i]));
    const auto given = call.frames.entry.all().subspan(part->begin, part->end - part->begin);
    ++part;
    const auto left = frame.from(before);
    if (!std::equal(given.begin(), given.end(), left.begin(), left.end())) continue;
    frame.shrink(before);
    frame.put(kSameValue);
  }
}

}  // namespace qvs
