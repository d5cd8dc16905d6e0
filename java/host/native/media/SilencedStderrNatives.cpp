// The native side of SilencedStderr.

#include <fcntl.h>
#include <unistd.h>

#include "com_zarvo_qvs_host_model_SilencedStderr.h"

JNIEXPORT jint JNICALL Java_com_zarvo_qvs_host_model_SilencedStderr_mute(JNIEnv*, jclass) {
  const int sink = open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (sink < 0) return -1;
  const int saved = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  if (saved >= 0) dup2(sink, STDERR_FILENO);
  close(sink);
  return saved;
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_model_SilencedStderr_restore(JNIEnv*, jclass, jint saved) {
  dup2(saved, STDERR_FILENO);
  close(saved);
}
