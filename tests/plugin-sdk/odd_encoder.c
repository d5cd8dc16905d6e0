/* An encoder plug-in that codes nothing and does what its own path says: copies of it under other names are other plug-ins. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <stdlib.h>
#include <unistd.h>

#include "qvs/video_encoder.h"

typedef struct Session {
  void* host;
  QvsByteArrayNew create;
  uint32_t taken;
} Session;

static int has(const char* word) {
  static const char here;
  Dl_info info;
  return dladdr(&here, &info) != 0 && strstr(info.dli_fname, word) != NULL;
}

__attribute__((constructor)) static void load(void) {
  if (!has("aborts-on-load")) return;
  fputs("first words\nthe driver is out of its mind\n", stderr);
  abort();
}

__attribute__((destructor)) static void unload(void) {
  if (has("aborts-on-unload")) abort();
}

int32_t zarvoVideoEncoder_getVersion(uint8_t* buffer, uint32_t len, uint32_t* major, uint32_t* minor) {
  if (has("hangs-in-version"))
    for (;;) sleep(1);
  if (has("exits-in-version")) _exit(7);
  puts("a driver talks on standard output");
  *major = 3;
  *minor = 7;
  if (buffer != NULL)
    snprintf((char*)buffer, len, "%s", has("no-card") ? "no \"render\" node \xff" : "odd 3.7");
  return has("no-card") ? QVS_PLUGIN_OPEN_CARD : QVS_PLUGIN_OK;
}

int32_t zarvoVideoEncoder_destroy(void* session) {
  free(session);
  return 0;
}

int32_t zarvoVideoEncoder_create(void** session) {
  *session = has("no-session") ? NULL : calloc(1, sizeof(Session));
  return 0;
}

int32_t zarvoVideoEncoder_setAllocator2(void* session, void* host, QvsByteArrayNew create,
                                        QvsByteArrayFree release, QvsByteArrayLock lock,
                                        QvsByteArrayUnlock unlock) {
  Session* it = session;
  (void)release, (void)lock, (void)unlock;
  it->host = host;
  it->create = create;
  return 0;
}

int32_t zarvoVideoEncoder_initialize(void* session) {
  (void)session;
  return has("refuses-to-open") ? QVS_PLUGIN_CREATE_CONTEXT : 0;
}

int32_t zarvoVideoEncoder_getProblem(void* session, char* text, uint32_t size) {
  (void)session;
  snprintf(text, size, "the card has no context left");
  return 0;
}

int32_t zarvoVideoEncoder_addFrame2(void* session, void* plane, uint32_t stride, uint32_t width,
                                    uint32_t height, uint32_t frameType, uint64_t timecode, void** frames,
                                    uint32_t* sizes, uint32_t* frameTypes, uint64_t* timecodes,
                                    uint64_t* timecodeOffsets, uint32_t* count) {
  Session* it = session;
  (void)plane, (void)stride, (void)width, (void)height, (void)frameType;
  if (has("crashes-in-encode")) *(volatile int*)8 = 1;
  const uint32_t number = it->taken++;
  *count = has("gives-25") ? 25 : !(has("loses-one") && number == 4);
  if (*count != 1) return 0;
  frames[0] = it->create(it->host, 100);
  sizes[0] = 100;
  frameTypes[0] = number == 0 ? QVS_FRAME_KEY : QVS_FRAME_PREDICTED;
  timecodes[0] = timecode;
  timecodeOffsets[0] = 0;
  return 0;
}

int32_t zarvoVideoEncoder_drain(void* session, void** frames, uint32_t* sizes, uint32_t* frameTypes,
                                uint64_t* timecodes, uint64_t* timecodeOffsets, uint32_t* count) {
  (void)session, (void)frames, (void)sizes, (void)frameTypes, (void)timecodes, (void)timecodeOffsets;
  *count = 0;
  return 0;
}

int32_t zarvoVideoEncoder_describe(char* text, uint32_t size, uint32_t* needed) {
  (void)needed;
  snprintf(
      text, size, "%s",
      has("bad-description")
          ? "{\"name\":\"odd\",,}"
          : "{\"name\":\"odd\",\"codecs\":[\"h264\"],\"standsOn\":\"nothing\",\"maxWidth\":640,\"maxHeight\":"
            "480,"
            "\"keys\":[{\"key\":7,\"name\":\"speed\",\"type\":\"long\",\"low\":0,\"high\":9,\"default\":3,"
            "\"does\":\"how fast\"}]}");
  return 0;
}
