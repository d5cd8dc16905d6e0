#pragma once

#include <optional>

#include "video/SequenceInfo.h"
#include "video/UnitBuffer.h"

namespace qvs::mc {

/// Reads the configuration of a codec. Nothing where it isn't understood.
using HeaderReader = std::optional<SequenceInfo> (*)(UnitBuffer& header, AVCodecID codec);

std::optional<SequenceInfo> readAvcUnits(UnitBuffer& header, AVCodecID codec);
std::optional<SequenceInfo> readMpeg2Units(UnitBuffer& header, AVCodecID codec);

/// MPEG-4: a visual object layer. H.265: parameter sets with the picture behind them.
std::optional<SequenceInfo> readParsedUnits(UnitBuffer& header, AVCodecID codec);

/// Codecs without a configuration: each picture carries all. The bytes may be a first picture, which then
/// tells the size, or just a start code, which tells nothing and is well.
std::optional<SequenceInfo> readFirstPicture(UnitBuffer& header, AVCodecID codec);

/// The description that a codec gives of its last picture.
SequenceInfo describe(const AVCodecContext& context, const AVFrame& picture);

}  // namespace qvs::mc
