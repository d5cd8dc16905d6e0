package com.zarvo.qvs.host.job;

import com.zarvo.qvs.host.model.AudioSpec;
import com.zarvo.qvs.host.model.EncoderList;
import com.zarvo.qvs.host.model.RenditionSpec;
import java.util.ArrayList;
import java.util.List;
import java.util.Random;
import java.util.TreeMap;

/**
 * One session of a chaos soak, drawn from a seed: a clip, renditions of random sizes and codecs, bit rates that change
 * on the way, packets that are damaged, and perhaps an end before the clip's.
 *
 * @param renditions as command lines name them
 * @param audio the same; empty leaves sound out
 * @param rates by the number of the packet of pictures before which they change
 * @param damage by the number of the packet; what its bytes are changed with
 * @param packets so many are pushed, of pictures and sound
 * @param drained false closes the session without telling it the end
 */
record ChaosPlan(
    long seed,
    int clip,
    List<String> renditions,
    List<String> audio,
    boolean parallel,
    TreeMap<Integer, Rate> rates,
    TreeMap<Integer, Long> damage,
    int packets,
    boolean drained) {

  private static final int MOST_RENDITIONS = 3;
  private static final int PACKETS_OF_CLIP = 200;
  private static final List<String> VIDEO = List.of("h264", "h264", "vp8", "vp9");
  private static final List<String> FITS = List.of("letterbox", "stretch", "fill");
  private static final List<String> SOUND = List.of("aac", "opus", "vorbis");

  /** A change of one rendition's bits a second. */
  record Rate(int rendition, long bitsPerSecond) {}

  static ChaosPlan of(long seed, int clips) {
    Random random = new Random(seed);
    List<String> renditions = new ArrayList<>();
    for (int left = 1 + random.nextInt(MOST_RENDITIONS); left > 0; left--) {
      int width = 2 * (16 + random.nextInt(240));
      int height = 2 * (16 + random.nextInt(140));
      String rate = (50 + random.nextInt(600)) + "k";
      renditions.add(width + "x" + height + "@" + rate + ",codec=" + pick(random, VIDEO) + ",fit=" + pick(random, FITS));
    }
    List<String> audio = new ArrayList<>();
    for (int left = random.nextInt(3); left > 0; left--) audio.add(pick(random, SOUND) + "@" + (32 + 16 * random.nextInt(5)) + "k");
    TreeMap<Integer, Rate> rates = new TreeMap<>();
    for (int left = random.nextInt(6); left > 0; left--)
      rates.put(random.nextInt(PACKETS_OF_CLIP), new Rate(random.nextInt(renditions.size()), 1000L * (40 + random.nextInt(900))));
    TreeMap<Integer, Long> damage = new TreeMap<>();
    // Every third session is a clean one.
    for (int left = Math.max(0, random.nextInt(6) - 1); left > 0; left--) damage.put(random.nextInt(PACKETS_OF_CLIP), random.nextLong());
    int packets = random.nextInt(4) == 0 ? 1 + random.nextInt(PACKETS_OF_CLIP) : Integer.MAX_VALUE;
    return new ChaosPlan(
        seed, random.nextInt(clips), renditions, audio, random.nextBoolean(), rates, damage, packets, random.nextInt(8) != 0);
  }

  private static String pick(Random random, List<String> names) {
    return names.get(random.nextInt(names.size()));
  }

  /** The renditions; those of H.264 by these encoders where there are any. */
  List<RenditionSpec> specs(EncoderList encoders) {
    List<RenditionSpec> specs = new ArrayList<>();
    for (String text : renditions) {
      boolean other = encoders != null && text.contains("codec=h264");
      specs.add(RenditionSpec.parse(other ? text + ",encoder=" + encoders : text).settled(null, 0, null));
    }
    return specs;
  }

  List<AudioSpec> audioSpecs(int sampleRate, int channels) {
    return audio.stream().map(text -> AudioSpec.parse(text).settled(sampleRate, channels)).toList();
  }

  /** The packet's bytes, changed at a few places. */
  byte[] damaged(byte[] data, int packet) {
    Long seed = damage.get(packet);
    if (seed == null || data.length == 0) return data;
    byte[] changed = data.clone();
    Random random = new Random(seed);
    for (int left = 1 + random.nextInt(8); left > 0; left--) changed[random.nextInt(changed.length)] = (byte) random.nextInt(256);
    return changed;
  }
}
