#include "audio/OpusFile.h"

#include <ogg/ogg.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <utility>

namespace qvs::bench {

OpusFile::OpusFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> bytes((std::istreambuf_iterator<char>(file)), {});
  ogg_sync_state sync;
  ogg_stream_state stream;
  ogg_sync_init(&sync);
  std::copy(bytes.begin(), bytes.end(), ogg_sync_buffer(&sync, static_cast<long>(bytes.size())));
  ogg_sync_wrote(&sync, static_cast<long>(bytes.size()));
  std::vector<Packet> all;
  ogg_page page;
  bool open = false;
  while (ogg_sync_pageout(&sync, &page) == 1) {
    if (!open) ogg_stream_init(&stream, ogg_page_serialno(&page));
    open = true;
    ogg_stream_pagein(&stream, &page);
    ogg_packet packet;
    while (ogg_stream_packetout(&stream, &packet) == 1) {
      all.emplace_back(packet.packet, packet.packet + packet.bytes);
    }
  }
  if (open) ogg_stream_clear(&stream);
  ogg_sync_clear(&sync);
  constexpr size_t kHeaders = 2;
  if (all.size() <= kHeaders) {
    std::fprintf(stderr, "bench: %s holds no Opus\n", path.c_str());
    std::exit(1);
  }
  head = std::move(all[0]);
  packets.assign(std::make_move_iterator(all.begin() + kHeaders), std::make_move_iterator(all.end()));
}

}  // namespace qvs::bench
