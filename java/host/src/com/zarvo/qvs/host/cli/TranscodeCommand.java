package com.zarvo.qvs.host.cli;

import com.zarvo.qvs.host.job.JobResult;
import com.zarvo.qvs.host.job.JobSettings;
import com.zarvo.qvs.host.job.Overwrite;
import com.zarvo.qvs.host.job.RenditionFiles;
import com.zarvo.qvs.host.job.TranscodeJob;
import com.zarvo.qvs.host.media.WholeFile;
import com.zarvo.qvs.host.model.AudioSpec;
import com.zarvo.qvs.host.model.Container;
import com.zarvo.qvs.host.model.DecoderBackend;
import com.zarvo.qvs.host.model.Deinterlace;
import com.zarvo.qvs.host.model.Device;
import com.zarvo.qvs.host.model.EncoderList;
import com.zarvo.qvs.host.model.VideoTuning;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.OverlaySpec;
import com.zarvo.qvs.host.model.RenditionSpec;
import com.zarvo.qvs.host.session.DeviceEvent;
import com.zarvo.qvs.host.session.EncoderPolicy;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.concurrent.Callable;
import picocli.CommandLine.Command;
import picocli.CommandLine.ExitCode;
import picocli.CommandLine.Mixin;
import picocli.CommandLine.Model.CommandSpec;
import picocli.CommandLine.Option;
import picocli.CommandLine.ParameterException;
import picocli.CommandLine.Parameters;
import picocli.CommandLine.ParentCommand;
import picocli.CommandLine.Spec;

/** "transcode": one file in, renditions out. */
@Command(name = "transcode", description = "Turns a file into renditions of its pictures and its sound.", sortOptions = false)
final class TranscodeCommand implements Callable<Integer> {
  // Players want three segments' length to choose from.
  private static final int MIN_HLS_WINDOW = 3;
  private static final double MIN_DEADLINE = 0.01;
  private static final double MAX_DEADLINE = 3600;

  @Spec private CommandSpec spec;
  @ParentCommand private Interruptible main;

  @Parameters(
      paramLabel = "INPUT",
      description = {
        "The file to read, in any container. A FIFO, or - for standard input, is read as it comes: its end, or Ctrl-C,",
        "ends the renditions well."
      })
  private Path input;

  @Option(names = "-o", required = true, paramLabel = "DIR", description = "Where the renditions go.")
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

  @Option(
      names = "--audio-track",
      paramLabel = "N|LANG",
      description = "The audio track to take, by its number (from 1) or its language (de, deu); the first by default.")
  private String audioTrack;

  @Mixin private AudioConversionOptions conversion;

  @Option(names = "--no-audio", description = "Leave sound out; else it goes along, as AAC or Opus where the format holds it.")
  private boolean noAudio;

  @Option(names = "--no-video", description = "Leave pictures out.")
  private boolean noVideo;

  @Option(
      names = "--format",
      paramLabel = "FORMAT",
      defaultValue = "mp4",
      converter = Converters.OfContainer.class,
      description = {
        "mp4 (default), hls (segments and playlists), mkv, ts: H.264, H.265 and AAC; flv: H.264 and AAC;",
        "mp4, mkv and flv hold H.263 too, h263 nothing else; webm, ivf: VP8, VP9;",
        "for sound alone also ogg or aac."
      })
  private Container format;

  @Option(
      names = "--hls-window",
      paramLabel = "N",
      defaultValue = "0",
      description = {
        "For --format hls: playlists that can be played while the work goes on and name the last N segments only;",
        "segments that no player needs any more are deleted."
      })
  private int hlsWindow;

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
      description = "Highest pictures a second of renditions that name none of their own.")
  private double frameRate;

  @Option(
      names = "--preset",
      paramLabel = "NAME",
      converter = Converters.OfPreset.class,
      description = "Speed against quality: ultrafast to veryslow; veryfast for H.264, superfast for H.265 by default.")
  private VideoTuning.Preset preset;

  @Option(
      names = "--device",
      paramLabel = "NAME[:N]",
      defaultValue = "software",
      converter = Converters.OfDevice.class,
      description = {
        "Where pictures are decoded, scaled, drawn on and encoded: software (default), or cuda for an NVIDIA card,",
        "cuda:1 for its second. What the card does not do is done in software, with a line; so is all from the",
        "picture on with which the card fails, without a picture lost."
      })
  private Device device;

  @Option(
      names = "--decoder",
      paramLabel = "NAME",
      converter = Converters.OfDecoder.class,
      description = "What decodes: software, nvcuvid or u30; the device's by default.")
  private DecoderBackend decoder;

  @Option(
      names = "--encoder",
      paramLabel = "NAME[,NAME]...",
      converter = Converters.OfEncoders.class,
      description = {
        "What encodes renditions that name none of their own, in this order: software (default; with --device cuda",
        "nvenc,software), x264, x265, vaapi, quicksync, nvenc, vega, u30. The first that encodes is taken; one that fails on the way is replaced by the",
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

  @Override
  public Integer call() throws Exception {
    if (!(keyFrameSeconds > 0)) throw new ParameterException(spec.commandLine(), "--keyframes must be above 0");
    if (hlsWindow != 0 && (!format.isFolder() || hlsWindow < MIN_HLS_WINDOW))
      throw new ParameterException(
          spec.commandLine(), "--hls-window takes " + MIN_HLS_WINDOW + " segments or more, and --format hls");
    if (noAudio && !audioRenditions.isEmpty()) throw new ParameterException(spec.commandLine(), "--no-audio contradicts --audio");
    if (!(encoderDeadline >= MIN_DEADLINE && encoderDeadline <= MAX_DEADLINE))
      throw new ParameterException(spec.commandLine(), "--encoder-deadline is outside 0.01 to 3600 seconds");
    Path sheet = noContactSheet ? null : directory.resolve(RenditionFiles.stemOf(input) + "_contact-sheet.png");
    JobSettings settings =
        JobSettings.of(input, directory)
            .renditions(renditions)
            .audioRenditions(audioRenditions)
            .conversion(conversion.wanted())
            .video(!noVideo)
            .audioAlong(!noAudio)
            .audioTrack(audioTrack)
            .deinterlace(deinterlace)
            .frameRate(frameRate)
            .preset(preset)
            .device(device)
            .decoder(decoder)
            .encoderPolicy(
                EncoderPolicy.of(encoders != null ? encoders : device.kind().encoders).deadlineMs(Math.round(encoderDeadline * 1000)).build())
            .overlays(overlays)
            .format(format)
            .hlsWindow(hlsWindow)
            .contactSheet(sheet)
            .parallel(!sequential)
            .keyFrameSeconds(keyFrameSeconds)
            .overwrite(overwrite ? Overwrite.ALWAYS : Console::mayReplace)
            .build();
    TranscodeJob job = new TranscodeJob(settings, Console::progress, main.listenToSignals());
    try (WholeFile file = report == null ? null : WholeFile.create(checkedReport());
        WatchOptions.Watchers watchers = watching.open(input)) {
      run(job.watchedBy(watchers), file, watchers);
    }
    return tell(job.result());
  }

  // A report that could not be written would come after hours of work: its place is tried before.
  private Path checkedReport() throws HostException, IOException {
    if (Files.exists(report) && Files.exists(input) && Files.isSameFile(report, input))
      throw new HostException(report + ": is the input itself");
    return report;
  }

  private static void run(TranscodeJob job, WholeFile report, WatchOptions.Watchers watchers)
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
