package com.zarvo.qvs.host.cli;

import com.zarvo.qvs.host.job.JobSettings;
import com.zarvo.qvs.host.model.AudioSpec;
import com.zarvo.qvs.host.model.Container;
import com.zarvo.qvs.host.model.Deinterlace;
import com.zarvo.qvs.host.model.EncoderList;
import com.zarvo.qvs.host.model.OverlaySpec;
import com.zarvo.qvs.host.model.RenditionSpec;
import com.zarvo.qvs.host.model.VideoTuning;
import com.zarvo.qvs.host.session.EncoderPolicy;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import picocli.CommandLine;
import picocli.CommandLine.Mixin;
import picocli.CommandLine.Option;
import picocli.CommandLine.ParameterException;

/** The options that say what a file is made into, whoever makes it. */
final class RenditionOptions {
  private static final double MIN_DEADLINE = 0.01;
  private static final double MAX_DEADLINE = 3600;

  @Option(
      names = "--rendition",
      paramLabel = "WxH[@RATE][,KEY=VALUE]...",
      converter = Converters.OfRendition.class,
      description = {
        "One rendition, e.g. 1280x720@2500k,fit=letterbox,fps=30. Keys: codec (h264, h265, h263, vp8, vp9), fit",
        "(letterbox, stretch, fill), fps, crop and pad (left:right:top:bottom); for H.264 and H.265 also preset",
        "(ultrafast to veryslow), profile (baseline, main, high; H.265 main), level (4.1), bframes. Also",
        "encoder, as --encoder, with + between names.",
        "Without any: the input's size and the common sizes below down to 360p, five at most."
      })
  private List<RenditionSpec> renditions = new ArrayList<>();

  @Option(
      names = "--overlay",
      paramLabel = "PNG[,KEY=VALUE]...",
      converter = Converters.OfOverlay.class,
      description = {
        "An image to lay over, e.g. logo.png,align=top-right,x=20,y=20,on=decoder. Keys: align, x and y",
        "(distance from the aligned edge), width, height, on (decoder for all renditions, or a rendition's number)."
      })
  private List<OverlaySpec> overlays = new ArrayList<>();

  @Option(
      names = "--audio",
      paramLabel = "CODEC[@RATE][,KEY=VALUE]...",
      converter = Converters.OfAudio.class,
      description = {
        "One audio rendition, e.g. opus@96k or aac@128k,rate=48000,channels=2. Codecs: aac, opus, vorbis. Keys: rate,",
        "channels, mask and source-mask (speakers as bits: 1 left, 2 right, 4 centre, ...). Every file of pictures",
        "takes all audio renditions that its container can hold; others go into files of their own."
      })
  private List<AudioSpec> audioRenditions = new ArrayList<>();

  @Option(
      names = "--audio-track",
      paramLabel = "N|LANG",
      description = "The audio track to take, by its number (from 1) or its language (de, deu); the first by default.")
  private String audioTrack;

  @Mixin private AudioConversionOptions conversion;

  @Option(names = "--no-audio", description = "Leave sound out; else it goes along, as AAC or Opus where the format holds it.")
  private boolean noAudio;

  @Option(
      names = "--format",
      paramLabel = "FORMAT",
      converter = Converters.OfContainer.class,
      description = {
        "mp4 (default for files), hls (default for devices; segments and playlists), mkv, ts: H.264, H.265 and AAC; flv: H.264 and AAC;",
        "mp4 and mkv hold H.263 too, h263 nothing else; webm, ivf: VP8, VP9;",
        "for sound alone also ogg or aac."
      })
  private Container format;

  @Option(
      names = "--keyframes",
      paramLabel = "SECONDS",
      defaultValue = "2",
      description = "Time from key frame to key frame, 2 by default; in HLS the length of a segment too.")
  private double keyFrameSeconds;

  @Option(
      names = "--deinterlace",
      paramLabel = "off|on|double",
      defaultValue = "on",
      converter = Converters.OfDeinterlace.class,
      description = "What becomes of interlaced pictures: on (default), off, or double for a picture a field.")
  private Deinterlace deinterlace;

  @Option(
      names = "--fps",
      paramLabel = "RATE",
      defaultValue = "0",
      converter = Converters.OfFrameRate.class,
      description = {
        "Highest pictures a second of renditions that name none of their own; of an input that is a sequence of pictures",
        "its own rate, 25 by default."
      })
  private double frameRate;

  @Option(
      names = "--preset",
      paramLabel = "NAME",
      converter = Converters.OfPreset.class,
      description = "Speed against quality: ultrafast to veryslow; veryfast for H.264, superfast for H.265 by default.")
  private VideoTuning.Preset preset;

  @Option(
      names = "--realtime",
      description = {
        "Code the pictures of a file as those of a feed are: each at once, by a steady rate. Without it H.264 and H.265",
        "look ahead, have B pictures, and take bits where they are needed, up to twice the rate."
      })
  private boolean realTime;

  @Option(
      names = "--encoder",
      paramLabel = "NAME[,NAME]...",
      converter = Converters.OfEncoders.class,
      description = {
        "What encodes renditions that name none of their own, in this order: software (default; of a card what it has,",
        "then software), x264, x265, vaapi, quicksync, nvenc, vega, u30. The first that encodes is taken; one that",
        "fails on the way is replaced by the next, without a picture lost. Where none is left, the run fails: vaapi alone never becomes software."
      })
  private EncoderList encoders;

  @Option(
      names = "--encoder-deadline",
      paramLabel = "SECONDS",
      defaultValue = "2",
      description = "How long a call into an encoder of a card may take, 2 by default; then it counts as failed.")
  private double encoderDeadline;

  @Option(
      names = "--no-parallel",
      description =
          "Run all encoders on one thread instead of side by side; bits of H.265, and of H.264 of files, may differ by it.")
  private boolean sequential;

  /** As asked for, else `usual`. */
  Container format(Container usual) {
    return format == null ? usual : format;
  }

  double frameRate() {
    return frameRate;
  }

  boolean choosesAudioTrack() {
    return audioTrack != null;
  }

  Deinterlace deinterlace() {
    return deinterlace;
  }

  /** Refuses what contradicts itself. */
  void check(CommandLine commandLine) {
    if (!(keyFrameSeconds > 0)) throw new ParameterException(commandLine, "--keyframes must be above 0");
    if (noAudio && !audioRenditions.isEmpty()) throw new ParameterException(commandLine, "--no-audio contradicts --audio");
    if (!(encoderDeadline >= MIN_DEADLINE && encoderDeadline <= MAX_DEADLINE))
      throw new ParameterException(commandLine, "--encoder-deadline is outside 0.01 to 3600 seconds");
  }

  /** What they say of a job; in place of what they leave open, what is usual. */
  JobSettings.Builder settings(Path input, Path directory, Container usualFormat, EncoderList usualEncoders) {
    return JobSettings.of(input, directory)
        .renditions(renditions)
        .audioRenditions(audioRenditions)
        .conversion(conversion.wanted())
        .audioAlong(!noAudio)
        .audioTrack(audioTrack)
        .deinterlace(deinterlace)
        .frameRate(frameRate)
        .preset(preset)
        .realTime(realTime)
        .encoderPolicy(EncoderPolicy.of(encoders == null ? usualEncoders : encoders).deadlineMs(Math.round(encoderDeadline * 1000)).build())
        .overlays(overlays)
        .format(format(usualFormat))
        .parallel(!sequential)
        .keyFrameSeconds(keyFrameSeconds);
  }
}
