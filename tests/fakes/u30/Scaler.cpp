// The card's scaler plug-in over the product's own scaler, in a pipeline of one to three pictures.
#include <qvs/video_scaler.h>

#include <algorithm>
#include <deque>
#include <memory>
#include <vector>

#include "Card.h"
#include "frames/geometry/FourCC.h"
#include "frames/VideoFrameBuffer.h"

namespace {

using qvs::VideoFrameBuffer;
using qvs::fakes::CardPicture;

constexpr const char* kOwner = "scaler";

struct Scaler {
  uint32_t width = 0, height = 0;
  std::deque<CardPicture*> inside;  ///< sources, oldest first
  std::deque<bool> fromHost;
  std::vector<std::unique_ptr<CardPicture>> lent;  ///< host memory, until the next call
  VideoFrameBuffer source;
  std::vector<uint8_t> host;

  ~Scaler() {
    for (CardPicture* picture : inside) fake_card_free(picture, kOwner);
  }
};

Scaler* of(void* session) {
  return static_cast<Scaler*>(session);
}

mc_frame_t viewOf(CardPicture& picture) {
  mc_frame_t view{};
  view.width = picture.width;
  view.height = picture.height;
  view.four_cc = qvs::kFourCCNV12;
  view.plane[0] = picture.y();
  view.plane[1] = picture.uv();
  view.stride[0] = view.stride[1] = static_cast<int32_t>(picture.width);
  return view;
}

void scaleInto(Scaler& scaler, CardPicture& picture) {
  VideoFrameBuffer target;
  target.allocBuffer(picture.width, picture.height, qvs::kFourCCYV12);
  target.transferFrame(scaler.source, false);
  const mc_frame_t to = viewOf(picture);
  VideoFrameBuffer::copyYV12toNV12(&target.getFrame(), &to);
}

bool take(Scaler& scaler, PluginVideoBuffer& source) {
  const bool onCard = source.four_cc == qvs::kFourCCHN12;
  CardPicture* picture = onCard
                             ? fake_card_pass(source.opaque_, "host", kOwner)
                             : fake_card_alloc(scaler.width, scaler.height, kOwner, "u30s scale, a source");
  if (picture == nullptr) return false;
  if (!onCard) std::copy_n(scaler.host.data(), picture->bytes.size(), picture->bytes.data());
  scaler.inside.push_back(picture);
  scaler.fromHost.push_back(!onCard);
  return true;
}

int32_t handOut(Scaler& scaler, PluginVideoBuffer* targets, uint32_t count) {
  CardPicture* oldest = scaler.inside.front();
  const bool toHost = scaler.fromHost.front();
  const mc_frame_t from = viewOf(*oldest);
  scaler.source.allocBuffer(oldest->width, oldest->height, qvs::kFourCCYV12);
  VideoFrameBuffer::copyNV12toYV12(&from, &scaler.source.getFrame());
  scaler.lent.clear();
  for (uint32_t i = 0; i < count; ++i) {
    PluginVideoBuffer& out = targets[i];
    CardPicture* made = nullptr;
    if (toHost) {
      scaler.lent.push_back(std::make_unique<CardPicture>());
      made = scaler.lent.back().get();
      made->width = out.width;
      made->height = out.height;
      made->bytes.resize(uint64_t{out.width} * out.height * 3 / 2 + out.width + out.height);
    } else {
      made = fake_card_alloc(out.width, out.height, kOwner, "u30s scale, a target");
      if (made == nullptr) {  // all or nothing
        for (uint32_t j = 0; j < i; ++j)
          fake_card_free(static_cast<CardPicture*>(targets[j].opaque_), kOwner);
        return QVS_PLUGIN_ALLOCATE_BUFFER;
      }
    }
    scaleInto(scaler, *made);
    out.four_cc = toHost ? qvs::kFourCCNV12 : qvs::kFourCCHN12;
    out.opaque_ = toHost ? nullptr : made;
    out.plane[0] = made->y();
    out.plane[1] = made->uv();
    out.stride[0] = out.stride[1] = out.width;
  }
  for (uint32_t i = 0; i < count && !toHost; ++i) fake_card_pass(targets[i].opaque_, kOwner, "host");
  fake_card_free(oldest, kOwner);
  scaler.inside.pop_front();
  scaler.fromHost.pop_front();
  return 0;
}

}  // namespace

#define U30S(result, name) extern "C" QVS_PLUGIN_EXPORT result u30s_zarvoVideoScaler_##name

U30S(int32_t, getVersion)(uint8_t*, uint32_t, uint32_t* major, uint32_t* minor) {
  QVS_U30_CALL("u30s_getVersion");
  *major = 3;
  *minor = 0;
  return 0;
}
U30S(uint32_t, create)(void** session) {
  QVS_U30_CALL("u30s_create");
  *session = new Scaler;
  return 0;
}
U30S(uint32_t, destroy)(void* session) {
  delete of(session);
  return static_cast<uint32_t>(fake_card_fault("u30s_destroy"));
}
U30S(int32_t, setSource)(void* session, uint32_t width, uint32_t height, double) {
  QVS_U30_CALL("u30s_setSource");
  of(session)->width = width;
  of(session)->height = height;
  return 0;
}
U30S(int32_t, addScaling)(void*, uint32_t, uint32_t, double, uint32_t, uint8_t) {
  QVS_U30_CALL("u30s_addScaling");
  return 0;
}
U30S(int32_t, initialize)(void*) {
  QVS_U30_CALL("u30s_initialize");
  return 0;
}
U30S(int32_t, setParameterValueLong)(void*, uint32_t, int64_t) {
  QVS_U30_CALL("u30s_setParameterValueLong");
  return 0;
}
U30S(int32_t, allocFrame)
(void* session, uint32_t width, uint32_t height, uint32_t four_cc, PluginVideoBuffer* frame) {
  QVS_U30_CALL("u30s_allocFrame");
  std::vector<uint8_t>& host = of(session)->host;
  const uint64_t chroma = uint64_t{(width + 1) / 2} * 2 * ((height + 1) / 2);
  host.assign(uint64_t{width} * height + chroma, 0);
  *frame = {};
  frame->plane[0] = host.data();
  frame->plane[1] = host.data() + uint64_t{width} * height;
  frame->stride[0] = frame->stride[1] = width;
  frame->width = width;
  frame->height = height;
  frame->four_cc = four_cc;
  return 0;
}
U30S(int32_t, freeFrame)(void* session, PluginVideoBuffer*) {
  of(session)->host.clear();
  return fake_card_fault("u30s_freeFrame");
}
U30S(int32_t, scale)(void* session, PluginVideoBuffer* source, PluginVideoBuffer* targets, uint32_t* count) {
  const qvs::fakes::CardClock clock;
  Scaler& scaler = *of(session);
  const int32_t ordered = fake_card_fault("u30s_scale");
  const bool flush = source->four_cc == 0;
  if (ordered != 0) {
    if (source->four_cc == qvs::kFourCCHN12) {
      fake_card_free(fake_card_pass(source->opaque_, "host", kOwner), kOwner);
    }
    return ordered;
  }
  if (!flush && !take(scaler, *source)) return QVS_PLUGIN_ALLOCATE_BUFFER;
  const auto delay = static_cast<size_t>(flush ? 0 : fake_card_number("pipeline", 1));
  if (scaler.inside.size() <= delay) {
    *count = 0;
    return 0;
  }
  const int32_t status = handOut(scaler, targets, *count);
  if (status != 0 && !flush) {  // this source doesn't come out
    fake_card_free(scaler.inside.back(), kOwner);
    scaler.inside.pop_back();
    scaler.fromHost.pop_back();
  }
  return status;
}
