// The keys of the NVENC plug-in.
#include "NvencSettings.h"

namespace qvs::nvenc {
namespace {

using S = NvencSettings;

// What the software encoders have as well has the last two digits of their numbers.
// clang-format off
constexpr plugins::KeyRow<S> kRows[] = {
    {120000, "preset", &S::preset, 1, 7, "the driver's presets: 1 the fastest to 7 the best"},
    {120001, "tune", &S::tune, 1, 3, "1 high quality, 2 low latency, 3 ultra low latency"},
    {120002, "profile", &S::profile, 0, 3, "of H.264: 0 as the settings need, 1 baseline, 2 main, 3 high; H.265 is main"},
    {120003, "level", &S::level, 0, 62, "ten times the level, 0 as the stream needs"},
    {120004, "rateControl", &S::rateControl, 0, 3, "0 bit rate, 1 capped quality, 2 constant quantizer, 3 variable rate"},
    {120005, "quality", &S::quality, 1, 51, "of capped quality, lower is better"},
    {120006, "qp", &S::qp, 1, 51, "of the constant quantizer"},
    {120007, "vbvMaxRate", &S::vbvMaxRate, 0, 2e9, "largest rate in bits per second of capped quality and a variable rate, 0 the bit rate"},
    {120008, "vbvBuffer", &S::vbvBuffer, 0, 2e9, "bits, 0 a second of the largest rate"},
    {120009, "keyFrameInterval", &S::keyFrameInterval, 1, 1e6, "most pictures from key frame to key frame, where they don't follow requests alone"},
    {120010, "bFrames", &S::bFrames, 0, 4, "B pictures in a row, as many as the card has; each holds pictures back"},
    {120011, "references", &S::references, 0, 16, "reference pictures, 0 as the driver has it"},
    {120012, "lookAhead", &S::lookAhead, 0, 32, "pictures held back to plan ahead"},
    {120018, "aqMode", &S::aqMode, -1, 3, "adaptive quantizer: 0 off, 1 within a picture, 2 over time, 3 both, -1 as the preset has it"},
    {120019, "aqStrength", &S::aqStrength, 0, 15, "of that within a picture, 0 as the driver has it"},
    {120021, "colorPrimaries", &S::colorPrimaries, 0, 12, "told in the stream, by the numbers of H.264; 2 nothing, 1 BT.709"},
    {120022, "colorTransfer", &S::colorTransfer, 0, 18, "the same of the transfer curve; 2 nothing, 1 BT.709"},
    {120023, "colorMatrix", &S::colorMatrix, 0, 14, "the same of the matrix; 2 nothing, 1 BT.709"},
    {120024, "fullRange", &S::fullRange, -1, 1, "-1 nothing is told, 0 narrow, 1 full; samples are never converted"},
    {120030, "multiPass", &S::multiPass, -1, 2, "0 one pass, 1 a first one of a quarter's size, 2 two of full size, -1 as the preset has it"},
    {120031, "bReference", &S::bReference, 0, 1, "1 the middle B picture serves others as reference"},
    {120032, "asyncDepth", &S::asyncDepth, 1, 16, "pictures in the card at once; coded pictures come out that many less one later"},
};
// clang-format on

}  // namespace

const std::span<const plugins::KeyRow<NvencSettings>> kNvencKeys{kRows};

}  // namespace qvs::nvenc
