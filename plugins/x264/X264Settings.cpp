// The keys of the x264 plug-in, and what they are for libx264.
#include "X264Settings.h"

#include "FrameRate.h"

namespace qvs::plugins {
namespace {

using S = X264Settings;

// clang-format off
constexpr KeyRow<S> kRows[] = {
    {70000, "preset", &S::preset, 0, 9, "0 ultrafast, 1 superfast, 2 veryfast, 3 faster, 4 fast, 5 medium, 6 slow, 7 slower, 8 veryslow, 9 placebo"},
    {70001, "tune", &S::tune, 0, 7, "0 none, 1 film, 2 animation, 3 grain, 4 stillimage, 5 psnr, 6 ssim, 7 fastdecode; delay has keys of its own"},
    {70002, "profile", &S::profile, 0, 3, "0 as the settings need, 1 baseline, 2 main, 3 high"},
    {70003, "level", &S::level, 0, 62, "ten times the level, 9 for 1b, 0 as the stream needs"},
    {70004, "rateControl", &S::rateControl, 0, 2, "0 bit rate, 1 capped quality, 2 constant quantizer"},
    {70005, "quality", &S::quality, 0, 51, "of capped quality, lower is better"},
    {70006, "qp", &S::qp, 1, 51, "of the constant quantizer"},
    {70007, "vbvMaxRate", &S::vbvMaxRate, 0, 2e9, "largest rate in bits per second, 0 the bit rate; above it the bit rate can't be changed while running"},
    {70008, "vbvBuffer", &S::vbvBuffer, -1, 2e9, "bits, 0 a second of the largest rate, -1 no buffer"},
    {70009, "keyFrameInterval", &S::keyFrameInterval, 1, 1e6, "most pictures from key frame to key frame, where they don't follow requests alone"},
    {70010, "bFrames", &S::bFrames, 0, 16, "B pictures in a row; each holds pictures back"},
    {70011, "references", &S::references, 0, 16, "reference pictures, 0 as the preset has it"},
    {70012, "lookAhead", &S::lookAhead, 0, 250, "pictures held back to plan ahead"},
    {70013, "threads", &S::threads, 0, 128, "0 this machine's share: affinity and quota of the control groups"},
    {70014, "frameThreads", &S::frameThreads, 0, 1, "0 threads share a picture, without delay; 1 each works on a picture of its own, which are held back"},
    {70015, "slices", &S::slices, 0, 250, "of a picture, 0 as the threads need"},
    {70016, "openGop", &S::openGop, 0, 1, "1 lets B pictures lean across a key frame"},
    {70017, "sceneCut", &S::sceneCut, -1, 100, "readiness to begin anew at a cut, 0 never, -1 as the preset has it; never where key frames follow requests alone"},
    {70018, "aqMode", &S::aqMode, -1, 3, "adaptive quantizer: 0 off, 1 by variance, 2 in balance, 3 in balance and for the dark, -1 as the preset has it"},
    {70019, "aqStrength", &S::aqStrength, -1, 3, "of the adaptive quantizer, -1 as preset and tune have it"},
    {70020, "macroblockTree", &S::tree, -1, 1, "0 off, 1 on, -1 as the preset has it; only with look-ahead"},
    {70021, "colorPrimaries", &S::colorPrimaries, 0, 12, "told in the stream, by the numbers of H.264; 2 nothing, 1 BT.709"},
    {70022, "colorTransfer", &S::colorTransfer, 0, 18, "the same of the transfer curve; 2 nothing, 1 BT.709"},
    {70023, "colorMatrix", &S::colorMatrix, 0, 14, "the same of the matrix; 2 nothing, 1 BT.709"},
    {70024, "fullRange", &S::fullRange, -1, 1, "-1 nothing is told, 0 narrow, 1 full; samples are never converted"},
};
// clang-format on

constexpr const char* kProfiles[] = {nullptr, "baseline", "main", "high"};
constexpr int64_t kBaseline = 1;

void storeThreads(const S& settings, x264_param_t& x264) {
  x264.i_threads = settings.threadCount();
  x264.b_sliced_threads = settings.frameThreads == 0 && x264.i_threads > 1;
  x264.rc.i_lookahead = static_cast<int>(settings.lookAhead);
  if (settings.frameThreads == 0) x264.i_sync_lookahead = 0;
  x264.i_slice_count = static_cast<int>(settings.slices);
}

void storeStructure(const S& settings, bool keyFrameFollow, x264_param_t& x264) {
  x264.i_bframe = static_cast<int>(settings.bFrames);
  x264.b_open_gop = settings.openGop != 0;
  if (settings.references != 0) x264.i_frame_reference = static_cast<int>(settings.references);
  if (settings.sceneCut >= 0) x264.i_scenecut_threshold = static_cast<int>(settings.sceneCut);
  x264.i_keyint_max = static_cast<int>(settings.keyFrameInterval);
  if (!keyFrameFollow) return;
  x264.i_keyint_max = X264_KEYINT_MAX_INFINITE;
  x264.i_scenecut_threshold = 0;
}

void storeQuantizers(const S& settings, x264_param_t& x264) {
  if (settings.rateControl == S::kBitRate) x264.rc.i_rc_method = X264_RC_ABR;
  if (settings.rateControl == S::kCappedQuality) x264.rc.i_rc_method = X264_RC_CRF;
  if (settings.rateControl == S::kConstantQp) x264.rc.i_rc_method = X264_RC_CQP;
  x264.rc.f_rf_constant = static_cast<float>(settings.quality);
  x264.rc.i_qp_constant = static_cast<int>(settings.qp);
  if (settings.aqMode >= 0) x264.rc.i_aq_mode = static_cast<int>(settings.aqMode);
  if (settings.aqStrength >= 0) x264.rc.f_aq_strength = static_cast<float>(settings.aqStrength);
  if (settings.tree >= 0) x264.rc.b_mb_tree = static_cast<int>(settings.tree);
  if (settings.lookAhead == 0) x264.rc.b_mb_tree = 0;
}

void storeColor(const S& settings, x264_param_t& x264) {
  x264.vui.i_colorprim = static_cast<int>(settings.colorPrimaries);
  x264.vui.i_transfer = static_cast<int>(settings.colorTransfer);
  x264.vui.i_colmatrix = static_cast<int>(settings.colorMatrix);
  x264.vui.b_fullrange = static_cast<int>(settings.fullRange);
}

}  // namespace

const std::span<const KeyRow<X264Settings>> kX264Keys{kRows};

void X264Settings::storeRates(const H26xRates& rates, x264_param_t& x264) {
  if (rates.bitRate != 0) x264.rc.i_bitrate = rates.bitRate;
  x264.rc.i_vbv_max_bitrate = rates.maxRate;
  x264.rc.i_vbv_buffer_size = rates.buffer;
}

bool X264Settings::store(const CommonSettings& common, x264_param_t& x264, std::string& problem) const {
  const CodedSize size = codedSize(common);
  if (size.width == 0 || size.height == 0) {
    problem = "a picture of 4:2:0 has two columns and rows at least";
    return false;
  }
  if (profile == kBaseline && bFrames != 0) {
    problem = "profile baseline has no B pictures";
    return false;
  }
  H26xRates rates;
  if (!rates.set(*this, common.bitRate, problem)) return false;
  const char* tuneName = tune != 0 ? x264_tune_names[tune - 1] : nullptr;
  x264_param_default_preset(&x264, x264_preset_names[preset], tuneName);
  x264.i_width = size.width;
  x264.i_height = size.height;
  x264.i_csp = X264_CSP_I420;
  const FrameRate rate = frameRateOf(common.frameRate);
  x264.i_fps_num = rate.num;
  x264.i_fps_den = rate.den;
  x264.b_vfr_input = 0;
  x264.b_repeat_headers = 1;
  x264.b_annexb = 0;
  if (level != 0) x264.i_level_idc = static_cast<int>(level);
  storeThreads(*this, x264);
  storeStructure(*this, common.keyFrameFollow, x264);
  storeQuantizers(*this, x264);
  storeRates(rates, x264);
  storeColor(*this, x264);
  if (x264_param_apply_profile(&x264, kProfiles[profile]) == 0) return true;
  problem = std::string("libx264 refuses profile ") + kProfiles[profile];
  return false;
}

}  // namespace qvs::plugins
