package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.model.Colors;
import com.zarvo.qvs.host.model.VideoTuning;
import com.zarvo.qvs.host.model.RenditionSpec;
import com.zarvo.qvs.host.model.VideoCodec;
import com.zarvo.qvs.transcoder.model.TranscoderNativeParameterValue;

/** The keys by which the encoder of a rendition is set up. */
final class EncoderSettings {
  private static final int VPX_CPU_USED = 100033;
  private static final int VPX_THREAD_COUNT = 100100;
  private static final int VPX_ASYNCHRONOUS = 100101;
  private static final int VPX_COLOR_SPACE = 100103;
  private static final int VPX_COLOR_RANGE = 100104;
  // Fixed speed: the automatic one gives up several dB for time that live streams on this many cores don't need.
  private static final long CPU_USED = -8;

  private static final int MAX_THREADS = 16;

  private static final int H264_PROFILE = 10000;
  private static final int H264_LEVEL = 10001;
  private static final int H264_REORDERING_DELAY = 10003;
  private static final int H264_BUFFER_SIZE = 10016;
  private static final int H264_PEAK = 10018;
  private static final int H264_DELIMITERS = 10049;
  private static final int H264_SCENE_CUTS = 10063;
  private static final int H264_B_PYRAMID = 10066;
  private static final int H264_THREADS = 10078;
  private static final int H264_LOOK_AHEAD = 10080;
  private static final int H264_FRAME_THREADS = 10085;
  private static final int H264_KEY_DISTANCE = 10092;
  private static final int H264_B_PLACEMENT = 10093;
  private static final int H264_SPEED = 10129;
  private static final int H264_SOURCE_COLORS = 10134;
  private static final int H264_COLORS = 10135;
  private static final int H264_BUFFER_PERCENT = 10027;
  private static final int H264_NEVER = 1 << 20;
  private static final int H264_ASYNCHRONOUS = 10200;
  private static final int H264_FLUSH = 10201;
  private static final int H264_ASYNCHRONOUS_DEPTH = 10203;
  // One picture takes far longer to code than another: so many make up for it.
  private static final int QUEUED = 2;
  private static final int H264_COLOR_CODE_POINTS = 10202;
  private static final int H263_KEY_DISTANCE = 60003;
  // Key pictures come where they are due; each part of a picture is to be coded whole once in so many.
  private static final int H263_LONGEST = 132;
  private static final int H265_PRESET = 80000;
  private static final int H265_PROFILE = 80002;
  private static final int H265_LEVEL = 80003;
  private static final int H265_PEAK = 80007;
  private static final int H265_BUFFER_SIZE = 80008;
  private static final int H265_B_FRAMES = 80010;
  private static final int H265_LOOK_AHEAD = 80012;
  private static final int H265_THREADS = 80013;
  private static final int H265_FRAME_THREADS = 80014;
  private static final int H265_PRIMARIES = 80021;
  private static final int H265_TRANSFER = 80022;
  private static final int H265_MATRIX = 80023;
  private static final int H265_FULL_RANGE = 80024;
  // The keys of whatever host drives a plug-in.
  private static final int PLUGIN_ASYNCHRONOUS = 900000;
  private static final int PLUGIN_FLUSH = 900001;
  private static final int NARROW_RANGE = 1;
  private static final int FULL_RANGE = 2;

  private EncoderSettings() {}

  /** Scaling leaves colours as they are, so a rendition's are those of its source. `bitRate` is the one in force. */
  static TranscoderNativeParameterValue[] of(
      RenditionSpec spec, long bitRate, int threads, Colors colors, boolean asynchronous) {
    NativeParameters keys = new NativeParameters();
    if (spec.codec() == VideoCodec.H264) {
      addH264(keys, spec.tuning(), threads, asynchronous ? 1 : 0);
      if (spec.tuning().planned()) addPlan(keys, spec.tuning(), bitRate);
      addColors(keys, colors);
    } else if (spec.codec() == VideoCodec.H265) {
      addH265(keys, spec.tuning(), bitRate, colors);
      keys.set(PLUGIN_ASYNCHRONOUS, asynchronous ? 1 : 0);
    } else if (spec.codec() == VideoCodec.H263) {
      keys.set(H263_KEY_DISTANCE, H263_LONGEST);
    } else {
      keys.set(VPX_CPU_USED, CPU_USED).set(VPX_THREAD_COUNT, 1).set(VPX_ASYNCHRONOUS, asynchronous ? 1 : 0);
      keys.set(VPX_COLOR_SPACE, colors.vp9Space()).set(VPX_COLOR_RANGE, colors.fullRange() ? 1 : 0);
    }
    return keys.toArray();
  }

  private static void addColors(NativeParameters keys, Colors colors) {
    int description = colors.description();
    if (description != 0) {
      keys.set(H264_SOURCE_COLORS, description).set(H264_COLORS, description);
      return;
    }
    int range = colors.fullRange() ? FULL_RANGE : NARROW_RANGE;
    keys.setAll(H264_COLOR_CODE_POINTS, colors.primaries(), colors.transfer(), colors.matrix(), range);
  }

  private static void addH264(NativeParameters keys, VideoTuning tuning, int threads, long asynchronous) {
    keys.set(H264_SPEED, tuning.preset().level).set(H264_ASYNCHRONOUS, asynchronous);
    keys.set(H264_THREADS, threads).set(H264_FRAME_THREADS, threads > 1 ? 1 : 0);
    if (tuning.profile() != null) keys.set(H264_PROFILE, tuning.profile().id);
    if (tuning.level() != 0) keys.set(H264_LEVEL, tuning.level());
    int bFrames = tuning.bFramesOf(VideoCodec.H264);
    if (bFrames > 0) keys.set(H264_REORDERING_DELAY, bFrames + 1);
  }

  /**
   * Threads of an encoder that looks ahead, each at a picture of its own: its share of the machine by its size. One
   * where pictures come as they come, and where bits must not hang on the machine.
   */
  static int threads(SessionSettings settings, int index) {
    RenditionSpec spec = settings.renditions().get(index);
    if (!spec.tuning().planned() || !settings.parallel() || settings.excerpt() != null) return 1;
    double all = settings.renditions().stream().mapToDouble(each -> (double) each.width() * each.height()).sum();
    double share = Runtime.getRuntime().availableProcessors() * ((double) spec.width() * spec.height()) / all;
    return (int) Math.max(1, Math.min(MAX_THREADS, Math.round(share)));
  }

  /** Pictures that wait for an encoder beside the one in work. */
  static int queued(VideoCodec codec, VideoTuning tuning) {
    return codec == VideoCodec.H264 && tuning.planned() ? QUEUED : 0;
  }

  // A cut gets a picture coded by itself, but none to begin at: those are where all renditions have them. Delimiters
  // would let it pass for one.
  private static void addPlan(NativeParameters keys, VideoTuning tuning, long bitRate) {
    keys.set(H264_LOOK_AHEAD, tuning.lookAhead(VideoCodec.H264)).set(H264_B_PLACEMENT, tuning.preset().bPlacement);
    keys.set(H264_B_PYRAMID, 1).set(H264_SCENE_CUTS, tuning.lookAhead(VideoCodec.H264) > 0 ? 1 : 0);
    keys.set(H264_KEY_DISTANCE, H264_NEVER).set(H264_DELIMITERS, 0);
    keys.set(H264_PEAK, tuning.peak(bitRate)).set(H264_BUFFER_SIZE, tuning.buffer(bitRate));
    keys.set(H264_ASYNCHRONOUS_DEPTH, queued(VideoCodec.H264, tuning));
  }

  private static void addH265(NativeParameters keys, VideoTuning tuning, long bitRate, Colors colors) {
    keys.set(H265_PRESET, tuning.preset().ordinal()).set(H265_B_FRAMES, tuning.bFramesOf(VideoCodec.H265));
    if (tuning.planned()) {
      keys.set(H265_LOOK_AHEAD, tuning.lookAhead(VideoCodec.H265));
      keys.set(H265_PEAK, tuning.peak(bitRate)).set(H265_BUFFER_SIZE, tuning.buffer(bitRate));
    }
    if (tuning.profile() != null) keys.set(H265_PROFILE, 1);
    if (tuning.level() != 0) keys.set(H265_LEVEL, tuning.level());
    keys.set(H265_PRIMARIES, colors.primaries()).set(H265_TRANSFER, colors.transfer());
    keys.set(H265_MATRIX, colors.matrix()).set(H265_FULL_RANGE, colors.fullRange() ? 1 : 0);
  }

  /**
   * What a part of a source needs beside. The threads of H.265 follow the machine otherwise, and its bits the threads.
   *
   * @param bufferPercent how full the rate buffer is at the start, 0 where that is left to the encoder
   */
  static TranscoderNativeParameterValue[] ofExcerpt(RenditionSpec spec, int bufferPercent) {
    NativeParameters keys = new NativeParameters();
    if (spec.codec() == VideoCodec.H264 && bufferPercent > 0) keys.set(H264_BUFFER_PERCENT, bufferPercent);
    if (spec.codec() == VideoCodec.H265) keys.set(H265_THREADS, 1).set(H265_FRAME_THREADS, 1);
    return keys.toArray();
  }

  /** What makes an encoder hand out the pictures that it holds back; null where it holds none. */
  static TranscoderNativeParameterValue[] endOfStream(RenditionSpec spec) {
    if (spec.codec() == VideoCodec.H265) return new NativeParameters().set(PLUGIN_FLUSH, 1).toArray();
    return spec.tuning().bFramesOf(VideoCodec.H264) == 0 && !spec.tuning().planned() ? null : new NativeParameters().set(H264_FLUSH, 1).toArray();
  }
}
