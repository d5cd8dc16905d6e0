#pragma once

#include <vpx/vpx_encoder.h>

#include <cstdio>

namespace qvs {

/// Helpers that dump an encoder's output as an IVF file.
class VPXUtils {
 public:
  static void mem_put_le16(char* mem, unsigned int value);
  static void mem_put_le32(char* mem, unsigned int value);

  /// 32 bytes; nothing in the first pass of a two-pass encode.
  static void write_ivf_file_header(FILE* file, const vpx_codec_enc_cfg_t* cfg, int frameCount);

  /// 12 bytes for a frame packet; nothing for others.
  static void write_ivf_frame_header(FILE* file, const vpx_codec_cx_pkt_t* packet);
  static void write_ivf_frame_header(FILE* file, unsigned long size, unsigned long pts);
};

}  // namespace qvs
