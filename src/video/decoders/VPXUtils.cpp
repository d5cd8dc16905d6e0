// IVF headers for dumps of coded video.
#include "video/decoders/VPXUtils.h"

#include <algorithm>
#include <cstdint>

namespace qvs {

namespace {

constexpr unsigned int kFileHeaderSize = 32;
constexpr unsigned int kFrameHeaderSize = 12;

}  // namespace

void VPXUtils::mem_put_le16(char* mem, unsigned int value) {
  mem[0] = static_cast<char>(value);
  mem[1] = static_cast<char>(value >> 8);
}

void VPXUtils::mem_put_le32(char* mem, unsigned int value) {
  mem_put_le16(mem, value);
  mem_put_le16(mem + 2, value >> 16);
}

void VPXUtils::write_ivf_file_header(FILE* file, const vpx_codec_enc_cfg_t* cfg, int frameCount) {
  std::printf("write_ivf_file_header: %d:%d:%d\n", static_cast<int>(cfg->g_w), static_cast<int>(cfg->g_h),
              frameCount);
  if (cfg->g_pass == VPX_RC_FIRST_PASS) return;

  char header[kFileHeaderSize] = {};
  std::copy_n("DKIF", 4, header);
  mem_put_le16(header + 4, 0);  // version
  mem_put_le16(header + 6, kFileHeaderSize);
  std::copy_n("VP80", 4, header + 8);  // of VP9 as well
  mem_put_le16(header + 12, cfg->g_w);
  mem_put_le16(header + 14, cfg->g_h);
  mem_put_le32(header + 16, static_cast<unsigned int>(cfg->g_timebase.den));
  mem_put_le32(header + 20, static_cast<unsigned int>(cfg->g_timebase.num));
  mem_put_le32(header + 24, static_cast<unsigned int>(frameCount));
  std::fwrite(header, 1, sizeof header, file);
}

void VPXUtils::write_ivf_frame_header(FILE* file, const vpx_codec_cx_pkt_t* packet) {
  if (packet->kind != VPX_CODEC_CX_FRAME_PKT) return;
  write_ivf_frame_header(file, packet->data.frame.sz, static_cast<unsigned long>(packet->data.frame.pts));
}

void VPXUtils::write_ivf_frame_header(FILE* file, unsigned long size, unsigned long pts) {
  char header[kFrameHeaderSize];
  mem_put_le32(header, static_cast<unsigned int>(size));
  mem_put_le32(header + 4, static_cast<unsigned int>(pts));
  mem_put_le32(header + 8, static_cast<unsigned int>(uint64_t{pts} >> 32));
  std::fwrite(header, 1, sizeof header, file);
}

}  // namespace qvs
