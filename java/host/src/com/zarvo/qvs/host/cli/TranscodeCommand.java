package com.zarvo.qvs.host.cli;

import com.zarvo.qvs.host.job.JobSettings;
import com.zarvo.qvs.host.job.TranscodeJob;
import com.zarvo.qvs.host.model.Container;
import com.zarvo.qvs.host.model.DecoderBackend;
import com.zarvo.qvs.host.model.Device;
import com.zarvo.qvs.host.model.MediaInput;
import java.util.concurrent.Callable;
import picocli.CommandLine.Command;
import picocli.CommandLine.Mixin;
import picocli.CommandLine.Option;
import picocli.CommandLine.Parameters;
import picocli.CommandLine.ParentCommand;

/** "transcode": one file in, renditions out. */
@Command(name = "transcode", description = "Turns a file into renditions of its pictures and its sound.", sortOptions = false)
final class TranscodeCommand implements Callable<Integer> {
  @ParentCommand private Interruptible main;

  @Parameters(
      paramLabel = "INPUT",
      description = {
        "The file to read, in any container. A FIFO, or - for standard input, is read as it comes: its end, or Ctrl-C,",
        "ends the renditions well. Also a URL (http, https, srt, rtmp, rtmps, udp), numbered pictures (shot%%04d.png) or",
        "a folder of pictures."
      })
  private String input;

  @Mixin private InputOptions reading;

  @Mixin private LadderOptions ladder;

  @Option(names = "--no-video", description = "Leave pictures out.")
  private boolean noVideo;

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

  @Override
  public Integer call() throws Exception {
    MediaInput source = reading.input(input, ladder.frameRate());
    JobSettings settings =
        ladder
            .settings(source.path(), Container.MP4, 0, device.kind().encoders)
            .source(source)
            .video(!noVideo)
            .device(device)
            .decoder(decoder)
            .build();
    return ladder.run(new TranscodeJob(settings, Console::progress, main.listenToSignals()), source.path());
  }
}
