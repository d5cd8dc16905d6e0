// What a caller renders for a picture, and the coding of it.
#include "fakes/vaapi/EncodeContext.h"

#include <algorithm>
#include <cstring>

#include "CodedFrames.h"
#include "fakes/support/FaultScript.h"

namespace qvs::fakes {
namespace {

bool isH264(VAProfile profile) {
  return profile == VAProfileH264ConstrainedBaseline || profile == VAProfileH264Main ||
         profile == VAProfileH264High;
}

/// False where the buffer is too small for the record.
template <typename Record>
bool readRecord(const FakeBuffer& buffer, Record& record) {
  if (buffer.memory.size() < sizeof record) return false;
  std::memcpy(&record, buffer.memory.data(), sizeof record);
  return true;
}

}  // namespace

void EncodeContext::begin(VASurfaceID surface) {
  current = surface;
  codedId = VA_INVALID_ID;
  key = false;
  packedSlice.clear();
  packedRaw.clear();
}

VAStatus EncodeContext::render(const FakeBuffer& buffer) {
  switch (buffer.type) {
    case VAEncSequenceParameterBufferType:
      packedSets.clear();
      return renderSequence(buffer);
    case VAEncPictureParameterBufferType:
      return renderPicture(buffer);
    case VAEncSliceParameterBufferType:
      if (isH264(config.profile)) {
        if (!readRecord(buffer, slice)) return VA_STATUS_ERROR_INVALID_BUFFER;
        qp = static_cast<uint32_t>(picture.pic_init_qp + slice.slice_qp_delta);
      }
      return VA_STATUS_SUCCESS;
    case VAEncMiscParameterBufferType:
      return renderMisc(buffer);
    case VAEncPackedHeaderParameterBufferType: {
      VAEncPackedHeaderParameterBuffer header;
      if (!readRecord(buffer, header)) return VA_STATUS_ERROR_INVALID_BUFFER;
      packedType = header.type;
      return VA_STATUS_SUCCESS;
    }
    case VAEncPackedHeaderDataBufferType:
      renderPacked(buffer);
      return VA_STATUS_SUCCESS;
    default:
      return VA_STATUS_SUCCESS;
  }
}

VAStatus EncodeContext::renderSequence(const FakeBuffer& buffer) {
  uint32_t bits = bitsPerSecond;
  if (isH264(config.profile)) {
    if (!readRecord(buffer, sequence)) return VA_STATUS_ERROR_INVALID_BUFFER;
    bits = sequence.bits_per_second;
    // A size of a macroblock more or less than the context's is a mistake of the caller's.
    width = sequence.picture_width_in_mbs * 16u - 2 * sequence.frame_crop_right_offset;
    height = sequence.picture_height_in_mbs * 16u - 2 * sequence.frame_crop_bottom_offset;
  } else if (config.profile == VAProfileHEVCMain) {
    VAEncSequenceParameterBufferHEVC record;
    if (!readRecord(buffer, record)) return VA_STATUS_ERROR_INVALID_BUFFER;
    bits = record.bits_per_second;
  } else {
    VAEncSequenceParameterBufferVP9 record;
    if (!readRecord(buffer, record)) return VA_STATUS_ERROR_INVALID_BUFFER;
    bits = record.bits_per_second;
  }
  rateChanged = rateChanged || bits != bitsPerSecond;
  bitsPerSecond = bits;
  return VA_STATUS_SUCCESS;
}

VAStatus EncodeContext::renderPicture(const FakeBuffer& buffer) {
  if (isH264(config.profile)) {
    if (!readRecord(buffer, picture)) return VA_STATUS_ERROR_INVALID_BUFFER;
    codedId = picture.coded_buf;
    key = picture.pic_fields.bits.idr_pic_flag != 0;
    return VA_STATUS_SUCCESS;
  }
  if (config.profile == VAProfileHEVCMain) {
    VAEncPictureParameterBufferHEVC record;
    if (!readRecord(buffer, record)) return VA_STATUS_ERROR_INVALID_BUFFER;
    codedId = record.coded_buf;
    key = record.pic_fields.bits.idr_pic_flag != 0;
    qp = record.pic_init_qp;
    return VA_STATUS_SUCCESS;
  }
  VAEncPictureParameterBufferVP9 record;
  if (!readRecord(buffer, record)) return VA_STATUS_ERROR_INVALID_BUFFER;
  codedId = record.coded_buf;
  key = record.pic_flags.bits.frame_type == 0;
  qp = record.luma_ac_qindex;
  width = record.frame_width_src;
  height = record.frame_height_src;
  return VA_STATUS_SUCCESS;
}

VAStatus EncodeContext::renderMisc(const FakeBuffer& buffer) {
  constexpr size_t kFront = sizeof(VAEncMiscParameterBuffer);
  if (buffer.memory.size() < kFront) return VA_STATUS_ERROR_INVALID_BUFFER;
  VAEncMiscParameterType type;
  std::memcpy(&type, buffer.memory.data(), sizeof type);
  FakeBuffer rest(VAEncMiscParameterBufferType, 0);
  rest.memory.assign(buffer.memory.begin() + kFront, buffer.memory.end());
  if (type == VAEncMiscParameterTypeRateControl) {
    VAEncMiscParameterRateControl record;
    if (!readRecord(rest, record)) return VA_STATUS_ERROR_INVALID_BUFFER;
    rateChanged = rateChanged || record.bits_per_second != bitsPerSecond;
    bitsPerSecond = record.bits_per_second;
    percentage = record.target_percentage != 0 ? record.target_percentage : 100;
  } else if (type == VAEncMiscParameterTypeFrameRate) {
    VAEncMiscParameterFrameRate record;
    if (!readRecord(rest, record)) return VA_STATUS_ERROR_INVALID_BUFFER;
    rateNumerator = std::max(record.framerate & 0xFFFF, 1u);
    rateDenominator = std::max(record.framerate >> 16, 1u);
  }
  return VA_STATUS_SUCCESS;
}

void EncodeContext::renderPacked(const FakeBuffer& buffer) {
  const auto append = [&](std::vector<uint8_t>& to) {
    to.insert(to.end(), buffer.memory.begin(), buffer.memory.end());
  };
  if (packedType == VAEncPackedHeaderSequence || packedType == VAEncPackedHeaderPicture) append(packedSets);
  if (packedType == VAEncPackedHeaderSlice) append(packedSlice);
  if (packedType == VAEncPackedHeaderRawData) append(packedRaw);
}

bool EncodeContext::makeEncoder(const FakeSurface& surface) {
  SoftwareSettings settings;
  settings.codec = isH264(config.profile)                ? SoftwareCodec::kH264
                   : config.profile == VAProfileHEVCMain ? SoftwareCodec::kH265
                                                         : SoftwareCodec::kVp9;
  // H.265's records tell no part that is shown: it is the surface.
  settings.width = std::min(width, surface.width);
  settings.height = std::min(height, surface.height);
  settings.fpsNumerator = rateNumerator;
  settings.fpsDenominator = rateDenominator;
  settings.rate = config.rateControl == VA_RC_CQP   ? SoftwareRate::kConstantQp
                  : config.rateControl == VA_RC_CBR ? SoftwareRate::kConstantBitRate
                                                    : SoftwareRate::kVariableBitRate;
  settings.maxBitRate = bitsPerSecond;
  settings.bitRate = static_cast<uint32_t>(uint64_t{bitsPerSecond} * percentage / 100);
  settings.qp = qp;
  settings.cabac = picture.pic_fields.bits.entropy_coding_mode_flag != 0;
  settings.transform8x8 = picture.pic_fields.bits.transform_8x8_mode_flag != 0;
  settings.chromaQpOffset = picture.chroma_qp_index_offset;
  encoder = makeSoftwareEncoder(settings);
  if (encoder != nullptr) rewriter.setHeaders(encoder->headers());
  return encoder != nullptr;
}

VAStatus EncodeContext::encode(FakeSurface& surface, FakeBuffer& coded) {
  if (encoder == nullptr && !makeEncoder(surface)) return VA_STATUS_ERROR_INVALID_PARAMETER;
  if (rateChanged && count > 0 &&
      !encoder->setBitRate(static_cast<uint32_t>(uint64_t{bitsPerSecond} * percentage / 100),
                           bitsPerSecond)) {
    return VA_STATUS_ERROR_INVALID_PARAMETER;
  }
  rateChanged = false;
  const SoftwarePicture given{surface.memory.data(), surface.chroma(), surface.pitch, count++, key};
  SoftwareCoded made;
  if (!encoder->encode(given) || !encoder->take(made)) return VA_STATUS_ERROR_ENCODING_ERROR;
  const FaultScript& script = faultScript();
  const bool rewritten = isH264(config.profile) && !script.is("encoder", "off") &&
                         (!packedSets.empty() || script.is("headers", "off"));
  coded.coded = rewritten ? withGivenHeaders(made.bytes) : std::move(made.bytes);
  // Of H.265 a decoder has to read the caller's sets; those of x265 behind them take their place.
  if (key && config.profile == VAProfileHEVCMain) {
    coded.coded.insert(coded.coded.begin(), packedSets.begin(), packedSets.end());
  }
  return coded.coded.size() <= coded.memory.size() ? VA_STATUS_SUCCESS : VA_STATUS_ERROR_ENCODING_ERROR;
}

std::vector<uint8_t> EncodeContext::withGivenHeaders(std::span<const uint8_t> own) {
  std::vector<uint8_t> out;
  if (key) out = packedSets;
  out.insert(out.end(), packedRaw.begin(), packedRaw.end());
  std::span<const uint8_t> header;
  plugins::forEachUnit(packedSlice, [&](std::span<const uint8_t> unit) { header = unit; });
  plugins::forEachUnit(own, [&](std::span<const uint8_t> unit) {
    if ((unit[0] & 31) <= 5) rewriter.append(unit, sequence, picture, slice, header, out);
  });
  return out;
}

}  // namespace qvs::fakes
