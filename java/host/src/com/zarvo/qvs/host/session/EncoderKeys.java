package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.bitstream.StreamProfile;
import com.zarvo.qvs.host.model.Colors;
import com.zarvo.qvs.host.model.EncoderBackend;
import com.zarvo.qvs.host.model.RenditionSpec;
import com.zarvo.qvs.host.model.VideoCodec;
import com.zarvo.qvs.host.model.VideoTuning;
import com.zarvo.qvs.transcoder.model.TranscoderNativeParameterValue;
import java.util.Map;

/** The keys by which an encoder is set up, whatever stands behind it. */
final class EncoderKeys {
  // Of the session's plug-in hosts.
  private static final int ASYNCHRONOUS = 900000;
  private static final int FLUSH = 900001;
  private static final int CALL_DEADLINE = 900002;

  private static final int NONE = 0;
  private static final int HEVC_MAIN = 1;
  private static final int NVENC_PRESETS = 7;
  private static final int CARRY_CAPTIONS = 900100;

  /** Plug-ins number what they have in common each in its own way; x265 has the software's keys of H.265. */
  private record Row(
      int preset, int threads, int frameThreads, int profile, boolean profileIsIdc, int level, int bFrames,
      int lookAhead, int peak, int bufferSize, int primaries, int transfer, int matrix, int fullRange) {}

  private static final Map<EncoderBackend, Row> ROWS =
      Map.of(
          EncoderBackend.X264,
          new Row(
              70000, 70013, 70014, 70002, false, 70003, 70010, 70012, 70007, 70008, 70021, 70022, 70023, 70024),
          EncoderBackend.VAAPI,
          new Row(
              NONE, NONE, NONE, 110002, false, 110003, NONE, NONE, NONE, NONE, 110021, 110022, 110023, 110024),
          EncoderBackend.NVENC,
          new Row(
              120000, NONE, NONE, 120002, false, 120003, 120010, NONE, NONE, NONE, 120021, 120022, 120023, 120024),
          EncoderBackend.QUICKSYNC,
          new Row(
              NONE, NONE, NONE, 50012, true, 50013, 50009, NONE, NONE, NONE, 50017, 50018, 50019, 50020));

  private EncoderKeys() {}

  /** `bitRate` is the one in force, `kept` the profile and level to go on with, null where there is none yet. */
  static TranscoderNativeParameterValue[] of(
      EncoderBackend backend, SessionSettings settings, int index, long bitRate, StreamProfile kept) {
    RenditionSpec spec = settings.renditions().get(index);
    boolean hevc = spec.codec() == VideoCodec.H265;
    VideoTuning tuning = spec.tuning();
    // The stream has thirty times the level in H.265, users and plug-ins have ten times.
    if (kept != null && spec.codec().hasUnits())
      tuning = tuning.keeping(hevc ? 0 : kept.profile(), hevc ? kept.level() / 3 : kept.level());
    Colors colors = settings.source().colors();
    NativeParameters keys = new NativeParameters();
    int threads = EncoderSettings.threads(settings, index);
    Row row = ROWS.get(backend);
    long preset = backend == EncoderBackend.NVENC ? nvencPreset(tuning.preset()) : tuning.preset().ordinal();
    if (row != null) add(keys, row, preset, tuning, bitRate, threads, colors, hevc);
    else keys.setAll(EncoderSettings.of(spec.tunedTo(tuning), bitRate, threads, colors, settings.parallel()));
    if (settings.excerpt() != null && row == null)
      keys.setAll(EncoderSettings.ofExcerpt(spec, settings.excerpt().bufferPercent().get(index)));
    if (backend.isPlugin(spec.codec())) keys.set(ASYNCHRONOUS, settings.parallel() ? 1 : 0);
    if (spec.codec().hasUnits() && settings.capture() != null && settings.capture().captions())
      keys.set(CARRY_CAPTIONS, 1);
    if (backend.hardware) keys.set(CALL_DEADLINE, settings.encoderPolicy().deadlineMs());
    return keys.toArray();
  }

  /** The driver numbers its presets from 1, the fastest. */
  private static long nvencPreset(VideoTuning.Preset preset) {
    int slowest = VideoTuning.Preset.values().length - 1;
    return 1 + preset.ordinal() * (NVENC_PRESETS - 1) / slowest;
  }

  private static void add(
      NativeParameters keys, Row row, long preset, VideoTuning tuning, long bitRate, int threads, Colors colors,
      boolean hevc) {
    VideoTuning.Profile profile = tuning.profile();
    set(keys, row.preset, preset);
    set(keys, row.threads, threads);
    set(keys, row.frameThreads, threads > 1 ? 1 : 0);
    if (profile != null)
      set(keys, row.profile, !row.profileIsIdc ? profile.ordinal() + 1 : hevc ? HEVC_MAIN : profile.idc);
    if (tuning.level() != 0) set(keys, row.level, tuning.level());
    VideoCodec codec = hevc ? VideoCodec.H265 : VideoCodec.H264;
    set(keys, row.bFrames, row.lookAhead == NONE ? tuning.bFramesOfCard() : tuning.bFramesOf(codec));
    if (tuning.planned()) {
      set(keys, row.lookAhead, tuning.lookAhead(codec));
      set(keys, row.peak, tuning.peak(bitRate));
      set(keys, row.bufferSize, tuning.buffer(bitRate));
    }
    set(keys, row.primaries, colors.primaries());
    set(keys, row.transfer, colors.transfer());
    set(keys, row.matrix, colors.matrix());
    set(keys, row.fullRange, colors.fullRange() ? 1 : 0);
  }

  private static void set(NativeParameters keys, int key, long value) {
    if (key != NONE) keys.set(key, value);
  }

  /** What makes an encoder hand out the pictures that it holds back; none where it holds none. */
  static TranscoderNativeParameterValue[] endOfStream(EncoderBackend backend, RenditionSpec spec) {
    if (backend.isPlugin(spec.codec())) return new NativeParameters().set(FLUSH, 1).toArray();
    TranscoderNativeParameterValue[] end = EncoderSettings.endOfStream(spec);
    return end != null ? end : new TranscoderNativeParameterValue[0];
  }
}
