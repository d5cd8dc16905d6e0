package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.NativeLibraries;
import com.zarvo.qvs.host.model.VideoCodec;
import com.zarvo.qvs.transcoder.model.TranscoderSessionNative;
import com.zarvo.qvs.transcoder.thumbnailer.ThumbnailerRequest;
import com.zarvo.qvs.transcoder.thumbnailer.ThumbnailerRequestPacket;
import com.zarvo.qvs.transcoder.thumbnailer.ThumbnailerResponse;
import java.nio.ByteBuffer;
import java.util.EnumSet;
import java.util.List;
import java.util.Set;

/**
 * Makes still pictures of runs of packets, for whoever serves such pictures. Packets stand alone: H.264 and H.265 behind
 * start codes, the first one with its headers. For one thread; sessions on several threads run side by side.
 */
public final class StillSession implements AutoCloseable {
  private static final Set<VideoCodec> SERVED =
      EnumSet.of(VideoCodec.H264, VideoCodec.H265, VideoCodec.MPEG4, VideoCodec.MPEG2);
  // An extension of the library: the picture of the last packet, not the last picture of the run.
  private static final int PICTURE_OF_LAST_PACKET = 0x100;
  private static final int STRETCH = 0;

  private final VideoCodec codec;
  private final SessionLog log;
  private final DirectBytes arena = new DirectBytes();
  private long handle;

  /** One packet of a run and the millisecond at which its picture is shown. */
  public record Packet(byte[] bytes, long timecodeMs, boolean key) {}

  /**
   * What is wanted of a run.
   *
   * @param width pixels
   * @param height pixels
   * @param crop coded pixels that are cut off first: left, right, top, bottom
   * @param deinterlace whether interlaced pictures lose their combs
   */
  public record Wanted(int width, int height, int[] crop, boolean deinterlace) {}

  public StillSession(String name, VideoCodec codec) throws HostException {
    this.codec = codec;
    this.log = new SessionLog("host/stills/" + name);
    if (!SERVED.contains(codec)) throw new HostException("no still pictures are made of " + codec.codecName);
    NativeLibraries.loadTranscoder();
    handle = TranscoderSessionNative.createInstance();
    if (handle == 0) throw new HostException("no transcoder session could be made");
  }

  /**
   * The picture of the last packet of a run: B, G, R, A in rows without padding, in a direct buffer that
   * {@link DirectBytes#free} may give back; null where none came.
   */
  public ByteBuffer make(List<Packet> run, Wanted wanted) {
    ThumbnailerRequest request = new ThumbnailerRequest();
    request.codec = (int) codec.id;
    request.codecVersion = (int) codec.version;
    request.implementation = PICTURE_OF_LAST_PACKET;
    request.width = wanted.width();
    request.height = wanted.height();
    request.fitMode = STRETCH;
    request.crop = wanted.crop();
    request.deinterlace = wanted.deinterlace() ? 1 : 0;
    request.cpuNum = request.smpMode = request.output8Bit = request.mvPrecision = request.dpbSize = -1;
    request.ec = request.loopFilter = request.accMode = -1;
    request.packets = packets(run);
    ThumbnailerResponse response = new ThumbnailerResponse();
    TranscoderSessionNative.thumbnailerGetVideoFrame(handle, request, response);
    return response.pictureData;
  }

  /** What the last request was answered with, for those that came to nothing. */
  public String lastWord() {
    List<SessionLog.Line> lines = log.fetch(handle);
    return lines.isEmpty() ? "" : lines.get(lines.size() - 1).text();
  }

  private ThumbnailerRequestPacket[] packets(List<Packet> run) {
    ByteBuffer bytes = arena.of(run.stream().mapToInt(packet -> packet.bytes().length).sum());
    ThumbnailerRequestPacket[] packets = new ThumbnailerRequestPacket[run.size()];
    int at = 0;
    for (int i = 0; i < packets.length; i++) {
      Packet packet = run.get(i);
      bytes.put(at, packet.bytes());
      packets[i] = new ThumbnailerRequestPacket();
      packets[i].packetData = bytes.slice(at, packet.bytes().length);
      packets[i].timecode = packet.timecodeMs();
      packets[i].frameType = packet.key() ? 1 : 2;
      at += packet.bytes().length;
    }
    return packets;
  }

  @Override
  public void close() {
    if (handle != 0) TranscoderSessionNative.destroyInstance(handle);
    handle = 0;
    arena.close();
  }
}
