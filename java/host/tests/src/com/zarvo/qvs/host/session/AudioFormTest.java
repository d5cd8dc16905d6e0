package com.zarvo.qvs.host.session;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertThrows;

import com.zarvo.qvs.host.bitstream.AacConfig;
import com.zarvo.qvs.host.bitstream.OggPages;
import com.zarvo.qvs.host.bitstream.VorbisHeaders;
import com.zarvo.qvs.host.media.MediaKind;
import com.zarvo.qvs.host.media.MediaPacket;
import com.zarvo.qvs.host.media.TimestampCorrector;
import com.zarvo.qvs.host.model.AudioCodec;
import com.zarvo.qvs.host.model.AudioSpec;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.Rational;
import java.util.ArrayList;
import java.util.HexFormat;
import java.util.List;
import java.util.Random;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.ValueSource;

/** Values of --audio, the forms of codec configuration, Ogg pages, and clocks that jump. */
class AudioFormTest {
  @Test
  void anAudioRenditionCarriesAllThatWasSaid() {
    AudioSpec spec = AudioSpec.parse("aac@128k,rate=48000,channels=6,mask=0x3f,source-mask=7");
    assertEquals(new AudioSpec(AudioCodec.AAC, 128_000, 48_000, 6, 7, 0x3f), spec);
    AudioSpec settled = AudioSpec.parse("opus@96k").settled(44_100, 6);
    assertEquals(48_000, settled.sampleRate(), "the next rate that Opus takes");
    assertEquals(2, settled.channels());
    assertEquals(44_100, AudioSpec.parse("vorbis").settled(44_100, 1).sampleRate());
    assertEquals(48_000, AudioSpec.parse("opus").settled(0, 0).sampleRate());
  }

  @ParameterizedTest
  @ValueSource(
      strings = {
        "", "opus@", "opus@1k", "opus@9g", "mp3@64k", "opus,rate=44100", "vorbis,rate=96000", "opus,channels=3",
        "aac,channels=0", "aac,channels=9", "aac,mask=0x1ffff", "aac,mask=x", "aac,channels=2,mask=4", "aac,fit=1",
        "aac,rate", "aac@-5"
      })
  void aBadAudioRenditionIsRefusedInOneLine(String text) {
    String message = assertThrows(IllegalArgumentException.class, () -> AudioSpec.parse(text)).getMessage();
    assertFalse(message.isEmpty() || message.contains("\n"), message);
  }

  @ParameterizedTest
  @CsvSource({
    "1210,1210", // LC 44100 stereo
    "2b8a0800,1388", // explicit bands: 22050 core under 44100
    "eb8a0800,1388", // parametric stereo over a mono core
    "1780562210,1210" // the rate in full
  })
  void containersAacConfigurationsBecomeTwoBytes(String given, String expected) throws Exception {
    byte[] config = AacConfig.ofContainer(HexFormat.of().parseHex(given)).toBytes();
    assertEquals(expected, HexFormat.of().formatHex(config));
  }

  @ParameterizedTest
  @ValueSource(strings = {"12", "1200", "1280", "16f0", "fe00", "178000"})
  void aacConfigurationsThatCannotBeServedAreRefused(String given) {
    assertThrows(HostException.class, () -> AacConfig.ofContainer(HexFormat.of().parseHex(given)));
  }

  @Test
  void vorbisHeadersKeepTheirLengths() throws Exception {
    byte[][] headers = {new byte[30], new byte[1275], new byte[4000]};
    for (int i = 0; i < headers.length; i++) headers[i][0] = (byte) (2 * i + 1);
    byte[] laced = VorbisHeaders.join(headers);
    byte[][] found = VorbisHeaders.split(laced);
    for (int i = 0; i < headers.length; i++) assertArrayEquals(headers[i], found[i]);
    byte[] forDecoder = VorbisHeaders.forDecoder(laced);
    assertEquals(30, forDecoder[1]);
    assertEquals(3 + 30 + 16 + 4000, forDecoder.length);
    for (int length : new int[] {0, 1, 2, 3, 6, 1313})
      assertThrows(HostException.class, () -> VorbisHeaders.split(java.util.Arrays.copyOf(laced, length)));
  }

  private static byte[] page(byte[]... segments) {
    java.io.ByteArrayOutputStream out = new java.io.ByteArrayOutputStream();
    out.writeBytes("OggS".getBytes());
    out.writeBytes(new byte[22]);
    out.write(segments.length);
    for (byte[] segment : segments) out.write(segment.length);
    for (byte[] segment : segments) out.writeBytes(segment);
    return out.toByteArray();
  }

  @Test
  void packetsAreFoundInPages() throws Exception {
    OggPages pages = new OggPages();
    byte[] first = page(new byte[] {1, 2}, new byte[255]);
    byte[] second = page(new byte[45], new byte[0]);
    List<Integer> lengths = new ArrayList<>();
    for (byte[] page : List.of(first, second))
      for (byte[] packet : pages.packets(page, 0, page.length)) lengths.add(packet.length);
    assertEquals(List.of(2, 300, 0), lengths, "one runs over both pages");
    byte[] cut = page(new byte[100]);
    for (int length : new int[] {1, 26, 27, 28, 100})
      assertThrows(HostException.class, () -> new OggPages().packets(cut, 0, length));
  }

  private static long timecodeMs(AudioClock clock, MediaPacket packet, double durationMs, MediaPacket following) {
    return clock.timecodeMs(packet, packet.pts(), durationMs, following);
  }

  private static MediaPacket packet(MediaKind kind, Rational unit, long pts) {
    long duration = Math.round(0.02 * unit.den() / unit.num());
    return new MediaPacket(kind, new byte[0], pts, unit.toMilliseconds(pts), duration, 0, 0, true);
  }

  @Test
  void bothStreamsMoveByTheSameTimeWhereTheClockJumpsBack() {
    Rational ms = new Rational(1, 1000);
    TimestampCorrector corrector = new TimestampCorrector();
    for (int t = 5000; t < 9000; t += 20) {
      assertEquals(t, corrector.correct(packet(MediaKind.VIDEO, ms, t), ms).pts());
      assertEquals(t - 7, corrector.correct(packet(MediaKind.AUDIO, ms, t - 7), ms).pts());
    }
    assertEquals(8980, corrector.correct(packet(MediaKind.VIDEO, ms, 8980), ms).pts(), "reordered pictures are no jump");
    long moved = corrector.correct(packet(MediaKind.VIDEO, ms, 100), ms).pts() - 100;
    assertEquals(9000 - 100, moved);
    assertEquals(8993, corrector.correct(packet(MediaKind.AUDIO, ms, 8993), ms).pts(), "from before the jump");
    assertEquals(93 + moved, corrector.correct(packet(MediaKind.AUDIO, ms, 93), ms).pts());
    assertEquals(50_000 + moved, corrector.correct(packet(MediaKind.AUDIO, ms, 50_000), ms).pts(), "a gap stays");
  }

  @Test
  void timesThatTheReaderCountedOnByAWrongLengthAreNotBelieved() {
    Rational ms = new Rational(1, 1000);
    AudioClock clock = new AudioClock(ms, 0);
    // Packets are 10 ms long and told as 20; every fourth one has a time of its own.
    for (int i = 0; i < 40; i++) {
      long told = i / 4 * 40 + i % 4 * 20;
      assertEquals(AudioClock.BASE_MS + i * 10, timecodeMs(clock, packet(MediaKind.AUDIO, ms, told), 10, null));
    }
    assertEquals(AudioClock.BASE_MS + 700, timecodeMs(clock, packet(MediaKind.AUDIO, ms, 700), 10, null), "a gap");
  }

  @Test
  void aLoneOddTimeIsNotBelieved() {
    Rational fine = new Rational(1, 48_000);
    AudioClock clock = new AudioClock(fine, -312);
    Random random = new Random(3);
    for (int i = 0; i < 500; i++) {
      long pts = -312 + i * 960L;
      long told = i > 0 && random.nextInt(5) == 0 ? pts + 448 : pts;
      MediaPacket following = packet(MediaKind.AUDIO, fine, pts + 960);
      assertEquals(AudioClock.BASE_MS + i * 20, timecodeMs(clock, packet(MediaKind.AUDIO, fine, told), 20, following));
    }
    long jumped = -312 + 500 * 960L + 4800;
    assertEquals(
        AudioClock.BASE_MS + 10_100,
        timecodeMs(clock, 
            packet(MediaKind.AUDIO, fine, jumped), 20, packet(MediaKind.AUDIO, fine, jumped + 960)));
    assertEquals(-312 + 960, clock.toContainer(AudioClock.BASE_MS * 48 + 960, 48_000));
  }
}
