package com.zarvo.qvs.host.cli;

import com.zarvo.qvs.host.job.CaptureStage;
import com.zarvo.qvs.host.job.PngPicture;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.transcoder.model.TranscoderNativeVideoFrame;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.concurrent.Callable;
import picocli.CommandLine.Command;
import picocli.CommandLine.Option;
import picocli.CommandLine.Parameters;

/** "capture shot": the newest picture of a device. */
@Command(name = "shot", description = "Writes the newest picture of a device as PNG.", sortOptions = false)
final class CaptureShotCommand implements Callable<Integer> {
  @Parameters(paramLabel = "DEVICE", description = "A name of \"capture list\", or a capture directory.")
  private String device;

  @Option(names = "-o", required = true, paramLabel = "FILE.png", description = "Where the picture goes.")
  private Path file;

  @Option(names = "--devices", paramLabel = "DIR", defaultValue = ".", description = "Where file devices are; here by default.")
  private Path devices;

  @Option(names = "--overwrite", description = "Replace a file that is there already.")
  private boolean overwrite;

  @Override
  public Integer call() throws Exception {
    if (Files.exists(file) && !overwrite) throw new HostException(file + ": exists already; --overwrite lets it be replaced");
    try (CaptureStage stage = CaptureStage.open(device, devices, null)) {
      stage.start(null, true);
      TranscoderNativeVideoFrame picture = stage.device().picture();
      if (picture == null) throw new HostException(stage.device() + ": gives no picture");
      PngPicture.write(PngPicture.of(picture), file);
      System.out.println(file + ": " + picture.width + "x" + picture.height);
    }
    return 0;
  }
}
