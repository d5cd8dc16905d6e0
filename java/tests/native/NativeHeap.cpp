// Shows a test in the virtual machine how much memory native code holds.

#include <jni.h>
#include <malloc.h>

extern "C" JNIEXPORT jlong JNICALL Java_com_zarvo_qvs_transcoder_test_NativeHeap_bytesInUse(JNIEnv*, jclass) {
  const struct mallinfo2 heap = mallinfo2();
  return static_cast<jlong>(heap.uordblks + heap.hblkhd);
}
