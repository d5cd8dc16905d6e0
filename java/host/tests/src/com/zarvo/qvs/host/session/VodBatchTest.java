package com.zarvo.qvs.host.session;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.zarvo.qvs.host.media.MediaPacket;
import com.zarvo.qvs.host.media.MediaReader;
import com.zarvo.qvs.host.model.NativeLibraries;
import com.zarvo.qvs.host.support.Clips;
import com.zarvo.qvs.transcoder.model.TranscoderNativeVODTranscoderSettings;
import com.zarvo.qvs.transcoder.model.TranscoderPacket;
import com.zarvo.qvs.transcoder.model.TranscoderSessionNative;
import java.io.ByteArrayOutputStream;
import java.nio.ByteBuffer;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import org.junit.jupiter.api.BeforeAll;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

/** Batches of stored packets through an off-line plug-in on a card, which is an emulated one. */
class VodBatchTest {
  private static final int FRAMES = 50;
  private static final int KEYS = 20;
  private static final int FRAME_MS = 40;
  private static final int OFFSET = 3;
  private static final int FLV_HEADER = 5;
  private static final byte[] START_CODE = {0, 0, 0, 1};

  @TempDir static Path folder;
  private static Path source;
  private static final List<TranscoderPacket> packets = new ArrayList<>();
  private static final List<Long> shownMs = new ArrayList<>();
  private static byte[] header;

  @BeforeAll
  static void readPackets() throws Exception {
    NativeLibraries.loadTranscoder();
    source =
        Clips.make(
            "-f lavfi -i testsrc2=size=320x240:rate=25 -frames:v " + FRAMES
                + " -vf gblur=sigma=4 -c:v libx264 -b:v 3M -bf 2 -g " + KEYS + " -sc_threshold 0 -pix_fmt yuv420p",
            folder.resolve("clip.mp4"));
    try (MediaReader reader = MediaReader.open(source)) {
      header = annexB(reader.videoConfig());
      TranscoderPacket config = packet(reader.videoConfig(), 0, false);
      config.vodIsCodecConfig = true;
      for (MediaPacket read = reader.next(); read != null; read = reader.next()) {
        TranscoderPacket packet = packet(read.data(), packets.size() + 1, read.key());
        packet.timecode = packets.size() * FRAME_MS;
        packet.timecodeOffset = (int) (read.timecodeMs() - packet.timecode);
        packets.add(packet);
        shownMs.add(read.timecodeMs());
      }
      packets.add(0, config);
    }
    assertEquals(FRAMES + 1, packets.size());
  }

  /** As it stands in an FLV file, somewhere in an array. */
  private static TranscoderPacket packet(byte[] bytes, int index, boolean key) {
    TranscoderPacket packet = new TranscoderPacket();
    packet.offset = OFFSET;
    packet.len = FLV_HEADER + bytes.length;
    packet.buffer = new byte[OFFSET + (int) packet.len];
    System.arraycopy(bytes, 0, packet.buffer, OFFSET + FLV_HEADER, bytes.length);
    packet.frameType = key ? 1 : 2;
    packet.vodPacketsIndex = index;
    return packet;
  }

  /** The two parameter sets of a configuration record. */
  private static byte[] annexB(byte[] record) {
    ByteBuffer sets = ByteBuffer.wrap(record, 6, record.length - 6);
    ByteArrayOutputStream bytes = new ByteArrayOutputStream();
    for (int i = 0; i < 2; i++) {
      if (i == 1) sets.get();
      byte[] set = new byte[sets.getShort()];
      sets.get(set);
      bytes.writeBytes(START_CODE);
      bytes.writeBytes(set);
    }
    return bytes.toByteArray();
  }

  private static TranscoderNativeVODTranscoderSettings settings(int codec, int fitMode, int width, int height) {
    TranscoderNativeVODTranscoderSettings settings = new TranscoderNativeVODTranscoderSettings();
    settings.videoCodec = codec;
    settings.videoGPUID = -1;
    settings.videoFitMode = fitMode;
    settings.videoWidth = width;
    settings.videoHeight = height;
    settings.videoBitrate = 3_000_000;
    settings.videoFrameRate = 25;
    settings.videoHeader = header;
    return settings;
  }

  private static List<TranscoderPacket> transcode(
      TranscoderNativeVODTranscoderSettings settings, TranscoderPacket config, List<TranscoderPacket> batch) {
    long session = TranscoderSessionNative.createInstance();
    try {
      TranscoderSessionNative.initInstance(session);
      List<TranscoderPacket> made = new ArrayList<>();
      TranscoderPacket[] in = batch.toArray(new TranscoderPacket[0]);
      assertEquals(0, TranscoderSessionNative.vodTranscoderTranscodeFrames(session, settings, in, made));
      // Without the input's pictures there must be a size.
      boolean sized = settings.videoWidth != 0 && settings.videoHeight != 0;
      assertEquals(sized, TranscoderSessionNative.vodTranscoderGetCodecConfig(session, settings, config) == 0);
      return made;
    } finally {
      TranscoderSessionNative.destroyInstance(session);
    }
  }

  private static Path write(List<TranscoderPacket> made, String name) throws Exception {
    ByteArrayOutputStream bytes = new ByteArrayOutputStream();
    for (TranscoderPacket packet : made) {
      for (ByteBuffer units = ByteBuffer.wrap(packet.buffer, 0, (int) packet.len); units.hasRemaining(); ) {
        byte[] unit = new byte[units.getInt()];
        units.get(unit);
        bytes.writeBytes(START_CODE);
        bytes.writeBytes(unit);
      }
    }
    return Files.write(folder.resolve(name), bytes.toByteArray());
  }

  @ParameterizedTest
  @CsvSource(
      delimiter = '|',
      value = {
        "7 | 1 | 320 | 180 | scale=240:180,pad=320:180:40:0",
        "12 | 4 | 320 | 180 | crop=320:180:0:30",
        "7 | 0 | 160 | 0 | scale=160:120",
      })
  void comesOutWhole(int codec, int fitMode, int width, int height, String filter) throws Exception {
    TranscoderPacket config = new TranscoderPacket();
    List<TranscoderPacket> made = transcode(settings(codec, fitMode, width, height), config, packets);
    assertEquals(FRAMES, made.size());
    for (TranscoderPacket packet : made) {
      TranscoderPacket from = packets.get(packet.vodPacketsIndex);
      assertEquals(from.timecode + from.timecodeOffset, packet.timecode + packet.timecodeOffset);
      assertEquals(from.frameType == 1, packet.frameType == 1);
    }
    assertEquals(FRAMES, made.stream().map(packet -> packet.vodPacketsIndex).distinct().count());
    assertEquals(height != 0, config.vodIsCodecConfig);
    if (config.vodIsCodecConfig)
      assertArrayEquals(
          Arrays.copyOf(config.buffer, (int) config.len), Arrays.copyOf(made.get(0).buffer, (int) config.len));
    String name = "c" + codec + "f" + fitMode;
    Path wanted = Clips.make("-i " + source + " -vf " + filter + " -c:v libx264 -qp 8", folder.resolve(name + ".mp4"));
    List<Double> quality = Clips.psnr(wanted, write(made, name + (codec == 7 ? ".h264" : ".h265")));
    assertEquals(FRAMES, quality.size());
    assertTrue(quality.stream().allMatch(db -> db > 30), quality.toString());
  }

  /** What is damaged is missing, and nothing else. */
  @Test
  void leavesOutWhatIsDamaged() {
    List<TranscoderPacket> batch = new ArrayList<>(packets);
    TranscoderPacket empty = packet(new byte[] {0, 0, 0, 1, 0x41}, 0, false);
    batch.set(KEYS, empty);
    List<TranscoderPacket> made = transcode(settings(7, 0, 0, 0), new TranscoderPacket(), batch);
    assertTrue(made.size() >= FRAMES - KEYS, "only " + made.size());
    assertTrue(made.stream().anyMatch(packet -> packet.vodPacketsIndex == FRAMES));
  }
}
