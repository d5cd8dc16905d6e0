// fake_drv_video.so: a card that encodes H.264, H.265 and VP9 in software, behind the stock libva.
//
// Words and numbers of the fault script: `sessions=N` contexts of a process, `memory=64M` of surfaces and buffers,
// `derive=off` no derived images, `timed=off` no waits with a limit, `packed=MASK` the packed headers that it takes
// (of H.265 its own sets follow behind), `headers=off` no parameter sets of its own in H.264, `slices=lp` only the
// low-power entry point, `rates=MASK` the rate controls.
#include "fakes/vaapi/FakeDriver.h"

#include <va/va_backend.h>

#include <algorithm>
#include <cstring>
#include <span>
#include <string_view>
#include <thread>

namespace qvs::fakes {

OpenCounts& openCounts() {
  static OpenCounts counts("fake va driver");
  return counts;
}

namespace {

constexpr VAProfile kProfiles[] = {VAProfileH264ConstrainedBaseline, VAProfileH264Main, VAProfileH264High,
                                   VAProfileHEVCMain, VAProfileVP9Profile0};
constexpr uint32_t kMaxSide = 4096;
constexpr auto kNever = Clock::time_point::max();

bool knows(VAProfile profile) {
  return std::ranges::find(kProfiles, profile) != std::end(kProfiles);
}

bool fits(size_t bytes) {
  return CardMemory::fits(bytes, faultScript().number("memory", 0));
}

VAEntrypoint entrypoint() {
  return faultScript().is("slices", "lp") ? VAEntrypointEncSliceLP : VAEntrypointEncSlice;
}

VAStatus removed(bool found, VAStatus otherwise) {
  return found ? VA_STATUS_SUCCESS : otherwise;
}

VAStatus terminate(Call&) {
  return VA_STATUS_SUCCESS;
}

VAStatus queryConfigProfiles(Call&, VAProfile* list, int* count) {
  std::ranges::copy(kProfiles, list);
  *count = static_cast<int>(std::size(kProfiles));
  return VA_STATUS_SUCCESS;
}

VAStatus queryConfigEntrypoints(Call&, VAProfile profile, VAEntrypoint* list, int* count) {
  *count = 0;
  if (!knows(profile)) return VA_STATUS_ERROR_UNSUPPORTED_PROFILE;
  list[(*count)++] = entrypoint();
  return VA_STATUS_SUCCESS;
}

uint32_t attributeOf(VAProfile profile, VAConfigAttribType type) {
  const FaultScript& script = faultScript();
  switch (type) {
    case VAConfigAttribRTFormat:
      return VA_RT_FORMAT_YUV420;
    case VAConfigAttribRateControl:
      return static_cast<uint32_t>(script.number("rates", VA_RC_CQP | VA_RC_CBR | VA_RC_VBR));
    case VAConfigAttribEncPackedHeaders:
      if (profile == VAProfileVP9Profile0) return VA_ATTRIB_NOT_SUPPORTED;
      return static_cast<uint32_t>(script.number("packed", VA_ENC_PACKED_HEADER_NONE));
    case VAConfigAttribEncMaxRefFrames:
      return 1;
    case VAConfigAttribMaxPictureWidth:
    case VAConfigAttribMaxPictureHeight:
      return kMaxSide;
    default:
      return VA_ATTRIB_NOT_SUPPORTED;
  }
}

VAStatus getConfigAttributes(Call&, VAProfile profile, VAEntrypoint wanted, VAConfigAttrib* list, int count) {
  if (!knows(profile)) return VA_STATUS_ERROR_UNSUPPORTED_PROFILE;
  if (wanted != entrypoint()) return VA_STATUS_ERROR_UNSUPPORTED_ENTRYPOINT;
  for (VAConfigAttrib& attribute : std::span(list, static_cast<size_t>(count))) {
    attribute.value = attributeOf(profile, attribute.type);
  }
  return VA_STATUS_SUCCESS;
}

VAStatus createConfig(Call& call, VAProfile profile, VAEntrypoint wanted, VAConfigAttrib* list, int count,
                      VAConfigID* id) {
  if (!knows(profile)) return VA_STATUS_ERROR_UNSUPPORTED_PROFILE;
  if (wanted != entrypoint()) return VA_STATUS_ERROR_UNSUPPORTED_ENTRYPOINT;
  auto config = std::make_unique<FakeConfig>(FakeConfig{profile, wanted});
  for (const VAConfigAttrib& attribute : std::span(list, static_cast<size_t>(count))) {
    if (attribute.type != VAConfigAttribRateControl) continue;
    config->rateControl = attribute.value;
    if ((attribute.value & ~attributeOf(profile, attribute.type)) != 0)
      return VA_STATUS_ERROR_ATTR_NOT_SUPPORTED;
  }
  *id = call.driver.configs.add(std::move(config));
  return VA_STATUS_SUCCESS;
}

VAStatus destroyConfig(Call& call, VAConfigID id) {
  return removed(call.driver.configs.remove(id), VA_STATUS_ERROR_INVALID_CONFIG);
}

VAStatus queryConfigAttributes(Call& call, VAConfigID id, VAProfile* profile, VAEntrypoint* entry,
                               VAConfigAttrib* list, int* count) {
  const FakeConfig* config = call.driver.configs.find(id);
  if (config == nullptr) return VA_STATUS_ERROR_INVALID_CONFIG;
  *profile = config->profile;
  *entry = config->entrypoint;
  list[0] = {VAConfigAttribRTFormat, VA_RT_FORMAT_YUV420};
  *count = 1;
  return VA_STATUS_SUCCESS;
}

VAStatus createSurfaces2(Call& call, unsigned format, unsigned width, unsigned height, VASurfaceID* ids,
                         unsigned count, VASurfaceAttrib*, unsigned) {
  if (format != VA_RT_FORMAT_YUV420) return VA_STATUS_ERROR_UNSUPPORTED_RT_FORMAT;
  if (width == 0 || height == 0 || width > kMaxSide || height > kMaxSide) {
    return VA_STATUS_ERROR_RESOLUTION_NOT_SUPPORTED;
  }
  if (!fits(FakeSurface::bytesFor(width, height) * count)) return VA_STATUS_ERROR_ALLOCATION_FAILED;
  for (VASurfaceID& id : std::span(ids, count)) {
    id = call.driver.surfaces.add(std::make_unique<FakeSurface>(width, height));
  }
  return VA_STATUS_SUCCESS;
}

VAStatus createSurfaces(Call& call, int width, int height, int format, int count, VASurfaceID* ids) {
  return createSurfaces2(call, static_cast<unsigned>(format), static_cast<unsigned>(width),
                         static_cast<unsigned>(height), ids, static_cast<unsigned>(count), nullptr, 0);
}

VAStatus destroySurfaces(Call& call, VASurfaceID* ids, int count) {
  bool all = true;
  for (VASurfaceID id : std::span(ids, static_cast<size_t>(count)))
    all = call.driver.surfaces.remove(id) && all;
  return removed(all, VA_STATUS_ERROR_INVALID_SURFACE);
}

VAStatus querySurfaceAttributes(Call&, VAConfigID, VASurfaceAttrib* list, unsigned* count) {
  struct Row {
    VASurfaceAttribType type;
    uint32_t flags;
    int32_t value;
  };
  constexpr uint32_t kGet = VA_SURFACE_ATTRIB_GETTABLE, kBoth = kGet | VA_SURFACE_ATTRIB_SETTABLE;
  static constexpr Row kRows[] = {{VASurfaceAttribPixelFormat, kBoth, VA_FOURCC_NV12},
                                  {VASurfaceAttribMinWidth, kGet, 16},
                                  {VASurfaceAttribMinHeight, kGet, 16},
                                  {VASurfaceAttribMaxWidth, kGet, kMaxSide},
                                  {VASurfaceAttribMaxHeight, kGet, kMaxSide},
                                  {VASurfaceAttribMemoryType, kBoth, VA_SURFACE_ATTRIB_MEM_TYPE_VA}};
  const unsigned room = *count;
  *count = static_cast<unsigned>(std::size(kRows));
  if (list == nullptr) return VA_STATUS_SUCCESS;
  if (room < *count) return VA_STATUS_ERROR_MAX_NUM_EXCEEDED;
  for (const Row& row : kRows) {
    *list = {row.type, row.flags, {}};
    list->value.type = VAGenericValueTypeInteger;
    (list++)->value.value.i = row.value;
  }
  return VA_STATUS_SUCCESS;
}

VAStatus createContext(Call& call, VAConfigID configId, int width, int height, int, VASurfaceID*, int,
                       VAContextID* id) {
  const FakeConfig* config = call.driver.configs.find(configId);
  if (config == nullptr) return VA_STATUS_ERROR_INVALID_CONFIG;
  const int64_t limit = faultScript().number("sessions", 0);
  if (limit != 0 && openCounts().live(EncodeContext::kKind) >= limit) return VA_STATUS_ERROR_MAX_NUM_EXCEEDED;
  *id = call.driver.contexts.add(
      std::make_unique<EncodeContext>(*config, static_cast<uint32_t>(width), static_cast<uint32_t>(height)));
  return VA_STATUS_SUCCESS;
}

VAStatus destroyContext(Call& call, VAContextID id) {
  return removed(call.driver.contexts.remove(id), VA_STATUS_ERROR_INVALID_CONTEXT);
}

VAStatus createBuffer(Call& call, VAContextID, VABufferType type, unsigned size, unsigned count, void* data,
                      VABufferID* id) {
  const size_t bytes = size_t{size} * count;
  if (!fits(bytes)) return VA_STATUS_ERROR_ALLOCATION_FAILED;
  auto buffer = std::make_unique<FakeBuffer>(type, bytes);
  if (data != nullptr) std::memcpy(buffer->data, data, bytes);
  *id = call.driver.buffers.add(std::move(buffer));
  return VA_STATUS_SUCCESS;
}

VAStatus bufferSetNumElements(Call&, VABufferID, unsigned) {
  return VA_STATUS_SUCCESS;
}

void waitUntil(Clock::time_point until) {
  while (until == kNever) std::this_thread::sleep_for(std::chrono::hours(1));
  std::this_thread::sleep_until(until);
}

/// In two pieces, as cards with more than one unit do.
void layOut(FakeBuffer& buffer) {
  const size_t first = buffer.coded.size() / 2;
  for (VACodedBufferSegment& segment : buffer.segments) segment = {};
  buffer.segments[0].buf = buffer.coded.data();
  buffer.segments[0].size = static_cast<uint32_t>(first);
  buffer.segments[0].next = &buffer.segments[1];
  buffer.segments[1].buf = buffer.coded.data() + first;
  buffer.segments[1].size = static_cast<uint32_t>(buffer.coded.size() - first);
}

VAStatus mapBuffer(Call& call, VABufferID id, void** memory) {
  FakeBuffer* buffer = call.driver.buffers.find(id);
  if (buffer == nullptr) return VA_STATUS_ERROR_INVALID_BUFFER;
  *memory = buffer->data;
  if (buffer->type != VAEncCodedBufferType) return VA_STATUS_SUCCESS;
  // As the real ones do: whoever maps a picture that isn't ready waits for it, for as long as it takes.
  waitUntil(buffer->readyAt);
  layOut(*buffer);
  *memory = buffer->segments;
  return VA_STATUS_SUCCESS;
}

VAStatus unmapBuffer(Call& call, VABufferID id) {
  return removed(call.driver.buffers.find(id) != nullptr, VA_STATUS_ERROR_INVALID_BUFFER);
}

VAStatus destroyBuffer(Call& call, VABufferID id) {
  return removed(call.driver.buffers.remove(id), VA_STATUS_ERROR_INVALID_BUFFER);
}

VAStatus beginPicture(Call& call, VAContextID id, VASurfaceID surface) {
  EncodeContext* context = call.driver.contexts.find(id);
  if (context == nullptr) return VA_STATUS_ERROR_INVALID_CONTEXT;
  if (call.driver.surfaces.find(surface) == nullptr) return VA_STATUS_ERROR_INVALID_SURFACE;
  context->begin(surface);
  return VA_STATUS_SUCCESS;
}

VAStatus renderPicture(Call& call, VAContextID id, VABufferID* buffers, int count) {
  EncodeContext* context = call.driver.contexts.find(id);
  if (context == nullptr) return VA_STATUS_ERROR_INVALID_CONTEXT;
  for (VABufferID bufferId : std::span(buffers, static_cast<size_t>(count))) {
    const FakeBuffer* buffer = call.driver.buffers.find(bufferId);
    if (buffer == nullptr) return VA_STATUS_ERROR_INVALID_BUFFER;
    if (const VAStatus status = context->render(*buffer); status != VA_STATUS_SUCCESS) return status;
  }
  return VA_STATUS_SUCCESS;
}

VAStatus endPicture(Call& call, VAContextID id) {
  EncodeContext* context = call.driver.contexts.find(id);
  if (context == nullptr) return VA_STATUS_ERROR_INVALID_CONTEXT;
  FakeSurface* surface = call.driver.surfaces.find(context->surface());
  FakeBuffer* coded = call.driver.buffers.find(context->codedBuffer());
  if (surface == nullptr || coded == nullptr || coded->type != VAEncCodedBufferType) {
    return VA_STATUS_ERROR_INVALID_PARAMETER;
  }
  const auto late = std::chrono::milliseconds(call.fault.value);
  surface->readyAt = coded->readyAt = call.fault.kind == Fault::Kind::kNever  ? kNever
                                      : call.fault.kind == Fault::Kind::kLate ? Clock::now() + late
                                                                              : Clock::now();
  return context->encode(*surface, *coded);
}

/// A wait may be made late by the script too.
VAStatus waitFor(const Call& call, Clock::time_point readyAt, uint64_t nanoseconds) {
  if (call.fault.kind == Fault::Kind::kNever) readyAt = kNever;
  if (call.fault.kind == Fault::Kind::kLate && readyAt != kNever) {
    readyAt = std::max(readyAt, Clock::now() + std::chrono::milliseconds(call.fault.value));
  }
  constexpr uint64_t kLongest = 3'600'000'000'000;
  const auto until = Clock::now() + std::chrono::nanoseconds(std::min(nanoseconds, kLongest));
  waitUntil(nanoseconds == VA_TIMEOUT_INFINITE ? readyAt : std::min(until, readyAt));
  return readyAt <= Clock::now() ? VA_STATUS_SUCCESS : VA_STATUS_ERROR_TIMEDOUT;
}

VAStatus syncSurface2(Call& call, VASurfaceID id, uint64_t nanoseconds) {
  const FakeSurface* surface = call.driver.surfaces.find(id);
  if (surface == nullptr) return VA_STATUS_ERROR_INVALID_SURFACE;
  return waitFor(call, surface->readyAt, nanoseconds);
}

VAStatus syncSurface(Call& call, VASurfaceID id) {
  return syncSurface2(call, id, VA_TIMEOUT_INFINITE);
}

VAStatus syncBuffer(Call& call, VABufferID id, uint64_t nanoseconds) {
  const FakeBuffer* buffer = call.driver.buffers.find(id);
  if (buffer == nullptr) return VA_STATUS_ERROR_INVALID_BUFFER;
  return waitFor(call, buffer->readyAt, nanoseconds);
}

VAStatus querySurfaceStatus(Call& call, VASurfaceID id, VASurfaceStatus* status) {
  const FakeSurface* surface = call.driver.surfaces.find(id);
  if (surface == nullptr) return VA_STATUS_ERROR_INVALID_SURFACE;
  *status = surface->readyAt <= Clock::now() ? VASurfaceReady : VASurfaceRendering;
  return VA_STATUS_SUCCESS;
}

VAImageFormat imageFormat() {
  VAImageFormat format{};
  format.fourcc = VA_FOURCC_NV12;
  format.byte_order = VA_LSB_FIRST;
  format.bits_per_pixel = 12;
  return format;
}

VAStatus queryImageFormats(Call&, VAImageFormat* list, int* count) {
  list[0] = imageFormat();
  *count = 1;
  return VA_STATUS_SUCCESS;
}

/// An image laid out as a surface of its size is.
void addImage(Call& call, const FakeSurface& like, std::unique_ptr<FakeBuffer> buffer, VAImage* image) {
  *image = {};
  image->format = imageFormat();
  image->width = static_cast<uint16_t>(like.width);
  image->height = static_cast<uint16_t>(like.height);
  image->num_planes = 2;
  image->pitches[0] = image->pitches[1] = like.pitch;
  image->offsets[1] = like.pitch * like.rows;
  image->data_size = static_cast<uint32_t>(like.memory.size());
  image->buf = call.driver.buffers.add(std::move(buffer));
  auto made = std::make_unique<FakeImage>();
  FakeImage& kept = *made;
  image->image_id = call.driver.images.add(std::move(made));
  kept.image = *image;
}

VAStatus createImage(Call& call, VAImageFormat* format, int width, int height, VAImage* image) {
  if (format->fourcc != VA_FOURCC_NV12) return VA_STATUS_ERROR_INVALID_IMAGE_FORMAT;
  const FakeSurface like(static_cast<uint32_t>(width), static_cast<uint32_t>(height));
  addImage(call, like, std::make_unique<FakeBuffer>(VAImageBufferType, like.memory.size()), image);
  return VA_STATUS_SUCCESS;
}

VAStatus deriveImage(Call& call, VASurfaceID id, VAImage* image) {
  if (faultScript().is("derive", "off")) return VA_STATUS_ERROR_OPERATION_FAILED;
  FakeSurface* surface = call.driver.surfaces.find(id);
  if (surface == nullptr) return VA_STATUS_ERROR_INVALID_SURFACE;
  auto buffer = std::make_unique<FakeBuffer>(VAImageBufferType, 0);
  buffer->data = surface->memory.data();
  addImage(call, *surface, std::move(buffer), image);
  return VA_STATUS_SUCCESS;
}

VAStatus destroyImage(Call& call, VAImageID id) {
  const FakeImage* image = call.driver.images.find(id);
  if (image == nullptr) return VA_STATUS_ERROR_INVALID_IMAGE;
  call.driver.buffers.remove(image->image.buf);
  call.driver.images.remove(id);
  return VA_STATUS_SUCCESS;
}

VAStatus setImagePalette(Call&, VAImageID, unsigned char*) {
  return VA_STATUS_ERROR_UNIMPLEMENTED;
}

/// Rows of a part of a picture that begins at its corner.
void copyRows(uint8_t* to, uint32_t toPitch, const uint8_t* from, uint32_t fromPitch, size_t width,
              size_t rows) {
  for (; rows != 0; --rows, to += toPitch, from += fromPitch) std::memcpy(to, from, width);
}

/// Between an image and a surface; false where one of them is missing or too small.
bool copyImage(Call& call, VASurfaceID surfaceId, VAImageID imageId, unsigned width, unsigned height,
               bool in) {
  FakeSurface* surface = call.driver.surfaces.find(surfaceId);
  const FakeImage* image = call.driver.images.find(imageId);
  if (surface == nullptr || image == nullptr) return false;
  const VAImage& layout = image->image;
  if (width > std::min<unsigned>(layout.width, surface->width)) return false;
  if (height > std::min<unsigned>(layout.height, surface->height)) return false;
  uint8_t* memory = call.driver.buffers.find(layout.buf)->data;
  const auto plane = [&](uint8_t* ofSurface, uint8_t* ofImage, uint32_t pitch, size_t bytes, size_t rows) {
    if (in) {
      copyRows(ofSurface, surface->pitch, ofImage, pitch, bytes, rows);
    } else {
      copyRows(ofImage, pitch, ofSurface, surface->pitch, bytes, rows);
    }
  };
  plane(surface->memory.data(), memory, layout.pitches[0], width, height);
  plane(surface->chroma(), memory + layout.offsets[1], layout.pitches[1], (size_t{width} + 1) / 2 * 2,
        (height + 1) / 2);
  return true;
}

VAStatus getImage(Call& call, VASurfaceID surface, int, int, unsigned width, unsigned height,
                  VAImageID image) {
  return removed(copyImage(call, surface, image, width, height, false), VA_STATUS_ERROR_INVALID_PARAMETER);
}

VAStatus putImage(Call& call, VASurfaceID surface, VAImageID image, int, int, unsigned width, unsigned height,
                  int, int, unsigned, unsigned) {
  return removed(copyImage(call, surface, image, width, height, true), VA_STATUS_ERROR_INVALID_PARAMETER);
}

VAStatus querySubpictureFormats(Call&, VAImageFormat*, unsigned*, unsigned* count) {
  *count = 0;
  return VA_STATUS_SUCCESS;
}

VAStatus queryDisplayAttributes(Call&, VADisplayAttribute*, int* count) {
  *count = 0;
  return VA_STATUS_SUCCESS;
}

/// What libva insists on without anybody's calling it here.
template <typename... Arguments>
VAStatus unimplemented(Arguments...) {
  return VA_STATUS_ERROR_UNIMPLEMENTED;
}

template <size_t kSize>
struct Name {
  // NOLINTNEXTLINE: made from a string literal, as a template argument.
  constexpr Name(const char (&from)[kSize]) { std::copy_n(from, kSize, text); }
  char text[kSize];
};

/// A fault's way that isn't the call's own: the status instead of the work, or, where things are given back, behind it.
bool closes(std::string_view name) {
  return name.starts_with("vaDestroy") || name == "vaTerminate" || name == "vaUnmapBuffer";
}

bool carriesLateness(std::string_view name) {
  return name == "vaEndPicture" || name.starts_with("vaSync");
}

template <Name kName, auto kBody>
struct Entry;
template <Name kName, typename... Arguments, VAStatus (*kBody)(Call&, Arguments...)>
struct Entry<kName, kBody> {
  static VAStatus call(VADriverContextP context, Arguments... arguments) {
    const Fault fault = faultScript().next(kName.text);
    const bool refused = fault.kind == Fault::Kind::kStatus;
    if (refused && !closes(kName.text)) return static_cast<VAStatus>(fault.value);
    if (fault && !refused && !carriesLateness(kName.text)) {
      waitUntil(fault.kind == Fault::Kind::kNever ? kNever
                                                  : Clock::now() + std::chrono::milliseconds(fault.value));
    }
    auto* driver = static_cast<FakeDriver*>(context->pDriverData);
    Call call{*driver, fault};
    const VAStatus status = kBody(call, arguments...);
    if (std::string_view(kName.text) == "vaTerminate") delete driver;
    return refused ? static_cast<VAStatus>(fault.value) : status;
  }
};

template <typename... Arguments>
void leave(VAStatus (*&slot)(Arguments...)) {
  slot = unimplemented<Arguments...>;
}

void fill(VADriverVTable& table) {
#define QVS_FAKE_ENTRY(name, body) table.name = Entry<#name, body>::call
  QVS_FAKE_ENTRY(vaTerminate, terminate);
  QVS_FAKE_ENTRY(vaQueryConfigProfiles, queryConfigProfiles);
  QVS_FAKE_ENTRY(vaQueryConfigEntrypoints, queryConfigEntrypoints);
  QVS_FAKE_ENTRY(vaGetConfigAttributes, getConfigAttributes);
  QVS_FAKE_ENTRY(vaCreateConfig, createConfig);
  QVS_FAKE_ENTRY(vaDestroyConfig, destroyConfig);
  QVS_FAKE_ENTRY(vaQueryConfigAttributes, queryConfigAttributes);
  QVS_FAKE_ENTRY(vaCreateSurfaces, createSurfaces);
  // libva has one name for both.
  table.vaCreateSurfaces2 = Entry<"vaCreateSurfaces", createSurfaces2>::call;
  QVS_FAKE_ENTRY(vaDestroySurfaces, destroySurfaces);
  QVS_FAKE_ENTRY(vaQuerySurfaceAttributes, querySurfaceAttributes);
  QVS_FAKE_ENTRY(vaCreateContext, createContext);
  QVS_FAKE_ENTRY(vaDestroyContext, destroyContext);
  QVS_FAKE_ENTRY(vaCreateBuffer, createBuffer);
  QVS_FAKE_ENTRY(vaBufferSetNumElements, bufferSetNumElements);
  QVS_FAKE_ENTRY(vaMapBuffer, mapBuffer);
  QVS_FAKE_ENTRY(vaUnmapBuffer, unmapBuffer);
  QVS_FAKE_ENTRY(vaDestroyBuffer, destroyBuffer);
  QVS_FAKE_ENTRY(vaBeginPicture, beginPicture);
  QVS_FAKE_ENTRY(vaRenderPicture, renderPicture);
  QVS_FAKE_ENTRY(vaEndPicture, endPicture);
  QVS_FAKE_ENTRY(vaSyncSurface, syncSurface);
  QVS_FAKE_ENTRY(vaQuerySurfaceStatus, querySurfaceStatus);
  QVS_FAKE_ENTRY(vaQueryImageFormats, queryImageFormats);
  QVS_FAKE_ENTRY(vaCreateImage, createImage);
  QVS_FAKE_ENTRY(vaDeriveImage, deriveImage);
  QVS_FAKE_ENTRY(vaDestroyImage, destroyImage);
  QVS_FAKE_ENTRY(vaSetImagePalette, setImagePalette);
  QVS_FAKE_ENTRY(vaGetImage, getImage);
  QVS_FAKE_ENTRY(vaPutImage, putImage);
  QVS_FAKE_ENTRY(vaQuerySubpictureFormats, querySubpictureFormats);
  QVS_FAKE_ENTRY(vaQueryDisplayAttributes, queryDisplayAttributes);
  table.vaSyncSurface2 = nullptr;
  table.vaSyncBuffer = nullptr;
  if (!faultScript().is("timed", "off")) {
    QVS_FAKE_ENTRY(vaSyncSurface2, syncSurface2);
    if (!faultScript().is("timed", "surface")) QVS_FAKE_ENTRY(vaSyncBuffer, syncBuffer);
  }
#undef QVS_FAKE_ENTRY
  leave(table.vaCreateSubpicture);
  leave(table.vaDestroySubpicture);
  leave(table.vaSetSubpictureImage);
  leave(table.vaSetSubpictureChromakey);
  leave(table.vaSetSubpictureGlobalAlpha);
  leave(table.vaAssociateSubpicture);
  leave(table.vaDeassociateSubpicture);
  leave(table.vaGetDisplayAttributes);
  leave(table.vaSetDisplayAttributes);
}

}  // namespace
}  // namespace qvs::fakes

#define QVS_FAKE_EXPORT extern "C" __attribute__((visibility("default")))

/// What libva looks for in a driver.
QVS_FAKE_EXPORT VAStatus __vaDriverInit_1_17(VADriverContextP context) {
  using namespace qvs::fakes;
  const Fault fault = faultScript().next("vaInitialize");
  if (fault.kind == Fault::Kind::kStatus) return static_cast<VAStatus>(fault.value);
  if (fault)
    waitUntil(fault.kind == Fault::Kind::kNever ? kNever
                                                : Clock::now() + std::chrono::milliseconds(fault.value));
  context->version_major = VA_MAJOR_VERSION;
  context->version_minor = VA_MINOR_VERSION;
  context->max_profiles = static_cast<int>(std::size(kProfiles));
  context->max_entrypoints = context->max_attributes = 1;
  context->max_image_formats = context->max_subpic_formats = context->max_display_attributes = 1;
  context->str_vendor = "fake VA driver, encodes in software";
  context->pDriverData = new FakeDriver;
  fill(*context->vtable);
  return VA_STATUS_SUCCESS;
}

// For tests that have loaded the driver themselves.
QVS_FAKE_EXPORT void qvsFakeScript(const char* text) {
  qvs::fakes::faultScript().set(text);
}
QVS_FAKE_EXPORT int64_t qvsFakeLive() {
  return qvs::fakes::openCounts().live();
}
QVS_FAKE_EXPORT uint64_t qvsFakeCalls() {
  return qvs::fakes::faultScript().calls();
}
QVS_FAKE_EXPORT const char* qvsFakeFaulty() {
  static std::string name;
  return (name = qvs::fakes::faultScript().faulty()).c_str();
}
