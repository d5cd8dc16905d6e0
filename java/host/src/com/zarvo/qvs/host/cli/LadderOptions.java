package com.zarvo.qvs.host.cli;

import com.zarvo.qvs.host.job.JobSettings;
import com.zarvo.qvs.host.job.LadderJob;
import com.zarvo.qvs.host.job.Overwrite;
import com.zarvo.qvs.host.job.JobResult;
import com.zarvo.qvs.host.job.RenditionFiles;
import com.zarvo.qvs.host.media.WholeFile;
import com.zarvo.qvs.host.model.AudioSpec;
import com.zarvo.qvs.host.model.Container;
import com.zarvo.qvs.host.model.EncoderList;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.OverlaySpec;
import com.zarvo.qvs.host.model.RenditionSpec;
import com.zarvo.qvs.host.model.VideoTuning;
import com.zarvo.qvs.host.session.DeviceEvent;
import com.zarvo.qvs.host.session.EncoderPolicy;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import picocli.CommandLine.ExitCode;
import picocli.CommandLine.Mixin;
import picocli.CommandLine.Model.CommandSpec;
import picocli.CommandLine.Option;
import picocli.CommandLine.ParameterException;
import picocli.CommandLine.Spec;

/** The options of commands that make a ladder of renditions, and how such a command runs and tells of its work. */
final class LadderOptions {
  // Players want three segments' length to choose from.
  private static final int MIN_HLS_WINDOW = 3;
  private static final double MIN_DEADLINE = 0.01;
  private static final double MAX_DEADLINE = 3600;

  @Spec(Spec.Target.MIXEE)
  private CommandSpec spec;

  @Option(names = "-o", paramLabel = "DIR", description = "Where the renditions go.")
  private Path directory;

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

  @Mixin private AudioConversionOptions conversion;

  @Option(names = "--no-audio", description = "Leave sound out; else it goes along, as AAC or Opus where the format holds it.")
  private boolean noAudio;

  @Option(
      names = "--format",
      paramLabel = "FORMAT",
      converter = Converters.OfContainer.class,
      description = {
        "mp4 (default for files), hls (default for devices; segments and playlists), mkv, ts: H.264, H.265 and AAC; flv: H.264 and AAC;",
        "mp4, mkv and flv hold H.263 too, h263 nothing else; webm, ivf: VP8, VP9;",
        "for sound alone also ogg or aac."
      })
  private Container format;

  @Option(
      names = "--hls-window",
      paramLabel = "N",
      description = {
        "For --format hls: playlists that can be played while the work goes on and name the last N segments only;",
        "segments that no player needs any more are deleted. 0, the default for files, makes a recording."
      })
  private Integer hlsWindow;

  @Option(
      names = "--keyframes",
      paramLabel = "SECONDS",
      defaultValue = "2",
      description = "Time from key frame to key frame, 2 by default; in HLS the length of a segment too.")
  private double keyFrameSeconds;

  @Option(
      names = "--fps",
      paramLabel = "RATE",
      defaultValue = "0",
      converter = Converters.OfFrameRate.class,
      description = "Highest pictures a second of renditions that name none of their own.")
  private double frameRate;

  @Option(
      names = "--preset",
      paramLabel = "NAME",
      converter = Converters.OfPreset.class,
      description = "Speed against quality: ultrafast to veryslow; veryfast for H.264, superfast for H.265 by default.")
  private VideoTuning.Preset preset;

  @Option(
      names = "--encoder",
      paramLabel = "NAME[,NAME]...",
      converter = Converters.OfEncoders.class,
      description = {
        "What encodes renditions that name none of their own, in this order: software (default; of a card what it has,",
        "then software), x264, x265, vaapi, quicksync, nvenc, vega, u30. The first that encodes is taken; one that fails on the way is replaced by the",
        "next, without a picture lost. Where none is left, the run fails: vaapi alone never becomes software."
      })
  private EncoderList encoders;

  @Option(
      names = "--encoder-deadline",
      paramLabel = "SECONDS",
      defaultValue = "2",
      description = "How long a call into an encoder of a card may take, 2 by default; then it counts as failed.")
  private double encoderDeadline;

  @Option(names = "--report", paramLabel = "FILE.json", description = "Write a report, of work that failed too.")
  private Path report;

  @Mixin private WatchOptions watching;

  @Option(
      names = "--overwrite",
      description = "Replace renditions that are there already; without it a terminal is asked, else they stay.")
  private boolean overwrite;

  @Option(
      names = "--no-parallel",
      description =
          "Run all encoders on one thread instead of side by side; the output is the same, but H.265 may differ from run to run.")
  private boolean sequential;

  @Option(names = "--no-contact-sheet", description = "Make no picture of the renditions.")
  private boolean noContactSheet;

  /** What the options say of `input`; refuses what cannot be. `usualWindow` is for a format that takes one. */
  JobSettings.Builder settings(Path input, Container usualFormat, int usualWindow, EncoderList usualEncoders) {
    // Not the parser's affair: it would ask commands below a command for it, too.
    refuse(directory == null, "Missing required option: '-o=DIR'");
    if (format == null) format = usualFormat;
    if (encoders == null) encoders = usualEncoders;
    if (hlsWindow == null) hlsWindow = format.isFolder() ? usualWindow : 0;
    refuse(!(keyFrameSeconds > 0), "--keyframes must be above 0");
    refuse(
        hlsWindow != 0 && (!format.isFolder() || hlsWindow < MIN_HLS_WINDOW),
        "--hls-window takes " + MIN_HLS_WINDOW + " segments or more, and --format hls");
    refuse(noAudio && !audioRenditions.isEmpty(), "--no-audio contradicts --audio");
    refuse(
        !(encoderDeadline >= MIN_DEADLINE && encoderDeadline <= MAX_DEADLINE),
        "--encoder-deadline is outside 0.01 to 3600 seconds");
    Path sheet = noContactSheet ? null : directory.resolve(RenditionFiles.stemOf(input) + "_contact-sheet.png");
    return JobSettings.of(input, directory)
        .renditions(renditions)
        .audioRenditions(audioRenditions)
        .conversion(conversion.wanted())
        .audioAlong(!noAudio)
        .frameRate(frameRate)
        .preset(preset)
        .encoderPolicy(EncoderPolicy.of(encoders).deadlineMs(Math.round(encoderDeadline * 1000)).build())
        .overlays(overlays)
        .format(format)
        .hlsWindow(hlsWindow)
        .contactSheet(sheet)
        .parallel(!sequential)
        .keyFrameSeconds(keyFrameSeconds)
        .overwrite(overwrite ? Overwrite.ALWAYS : Console::mayReplace);
  }

  private void refuse(boolean wrong, String text) {
    if (wrong) throw new ParameterException(spec.commandLine(), text);
  }

  /** Runs a job with its report and those who watch it; the exit code. */
  int run(LadderJob job, Path input) throws HostException, IOException {
    try (WholeFile file = report == null ? null : WholeFile.create(checkedReport(input));
        WatchOptions.Watchers watchers = watching.open(input)) {
      run(job.watchedBy(watchers), file, watchers);
    }
    return tell(job.result());
  }

  // A report that could not be written would come after hours of work: its place is tried before.
  private Path checkedReport(Path input) throws HostException, IOException {
    if (Files.exists(report) && Files.exists(input) && Files.isSameFile(report, input))
      throw new HostException(report + ": is the input itself");
    return report;
  }

  private static void run(LadderJob job, WholeFile report, WatchOptions.Watchers watchers)
      throws HostException, IOException {
    try {
      job.run();
    } catch (HostException | IOException | RuntimeException e) {
      job.result().failed(Console.explain(e));
      watchers.end(job.result());
      if (report == null) throw e;
      try {
        report.write(job.result().toJson());
      } catch (IOException second) {
        System.err.println("qvs: " + Console.explain(second));
      }
      throw e;
    }
    if (report != null) report.write(job.result().toJson());
    watchers.end(job.result());
  }

  private int tell(JobResult result) {
    Console.printTrouble(result.log());
    Console.printRenditions(result, watching.summary());
    printApart(result);
    if (result.inputTrouble() == null) return 0;
    System.err.println("qvs: " + result.inputTrouble() + "; the renditions end there");
    return ExitCode.SOFTWARE;
  }

  private void printApart(JobResult result) {
    for (DeviceEvent event : result.deviceEvents()) System.err.println("qvs: " + event);
    for (JobResult.LeftOutAudio leftOut : result.leftOutAudio()) System.err.println("qvs: " + leftOut);
    if (result.damagedFrames() > 0) System.err.println("qvs: damaged pictures: " + result.damagedFrames());
    if (result.damagedAudioPackets() > 0)
      System.err.println("qvs: " + result.damagedAudioPackets() + " packets of sound were damaged and left out");
    if (result.losesDisplay())
      System.err.println(
          "qvs: " + format.label() + " cannot say that the pictures are to be " + result.source().display()
              + ": they are written as coded");
    if (result.renditions().isEmpty()) return;
    for (JobResult.AudioRendition audio : result.audioRenditions())
      if (!format.holds(audio.spec().codec()))
        System.err.println(
            "qvs: " + format.label() + " cannot hold " + audio.spec().codec().codecName + ": it is in "
                + audio.files().get(0));
  }
}
