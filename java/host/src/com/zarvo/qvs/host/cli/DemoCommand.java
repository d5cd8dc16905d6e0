package com.zarvo.qvs.host.cli;

import com.zarvo.qvs.host.job.JobResult;
import com.zarvo.qvs.host.job.JobSettings;
import com.zarvo.qvs.host.job.Overwrite;
import com.zarvo.qvs.host.job.TranscodeJob;
import com.zarvo.qvs.host.job.VideoQuality;
import com.zarvo.qvs.host.media.MediaException;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.OverlaySpec;
import com.zarvo.qvs.host.model.RenditionSpec;
import com.zarvo.qvs.host.session.OverlayPlacement;
import java.awt.BasicStroke;
import java.awt.Color;
import java.awt.GradientPaint;
import java.awt.Graphics2D;
import java.awt.Rectangle;
import java.awt.RenderingHints;
import java.awt.geom.Path2D;
import java.awt.image.BufferedImage;
import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.List;
import java.util.Locale;
import java.util.concurrent.Callable;
import javax.imageio.ImageIO;
import picocli.CommandLine.Command;
import picocli.CommandLine.Option;
import picocli.CommandLine.ParentCommand;

/** "demo": makes a source and a logo and turns them into a ladder of three renditions. */
@Command(name = "demo", description = "Makes an input and transcodes it into a ladder with a logo.")
final class DemoCommand implements Callable<Integer> {
  private static final int SOURCE_WIDTH = 1280;
  private static final int SOURCE_HEIGHT = 720;
  private static final int LOGO_WIDTH = 160;
  private static final int LOGO_HEIGHT = 80;
  private static final String FONT = "/usr/share/fonts/truetype/dejavu/DejaVuSans-Bold.ttf";
  // A tone that moves between the speakers, with a beep each second.
  private static final String AUDIO_SOURCE =
      "aevalsrc='0.2*sin(440*2*PI*t)*(0.5+0.5*sin(t))+0.2*sin(880*2*PI*t)*lt(mod(t,1),0.1)"
          + "|0.2*sin(440*2*PI*t)*(0.5-0.5*sin(t))+0.2*sin(880*2*PI*t)*lt(mod(t,1),0.1)':s=48000";
  private static final List<String> LADDER =
      List.of("1280x720@2500k", "854x480@1200k", "640x360@700k");

  @ParentCommand private Interruptible main;

  @Option(names = "-o", defaultValue = "out/demo", paramLabel = "DIR", description = "Where everything goes.")
  private Path directory;

  @Option(names = "--seconds", defaultValue = "10", description = "Length of the source.")
  private int seconds;

  @Override
  public Integer call() throws Exception {
    try {
      Files.createDirectories(directory);
    } catch (IOException e) {
      throw new HostException(directory + ": cannot be made a directory");
    }
    Path source = directory.resolve("source.mp4");
    Path logo = directory.resolve("logo.png");
    System.out.println("making " + source + " (" + seconds + " s, H.264 and AAC, moving picture, text and sound)");
    makeSource(source);
    drawLogo(logo);
    OverlaySpec overlay = OverlaySpec.parse(logo + ",align=top-right,x=24,y=24");
    JobSettings settings =
        JobSettings.of(source, directory)
            .renditions(LADDER.stream().map(RenditionSpec::parse).toList())
            .overlays(List.of(overlay))
            .contactSheet(directory.resolve("contact-sheet.png"))
            .overwrite(Overwrite.ALWAYS)
            .build();
    JobResult result = new TranscodeJob(settings, Console::progress, main.listenToSignals()).run();
    Console.printTrouble(result.log());
    printTable(result, source, overlay);
    return 0;
  }

  private static void printTable(JobResult result, Path source, OverlaySpec overlay) throws MediaException {
    Rectangle covered =
        new OverlayPlacement(overlay, LOGO_WIDTH, LOGO_HEIGHT, SOURCE_WIDTH, SOURCE_HEIGHT)
            .areaOn(SOURCE_WIDTH, SOURCE_HEIGHT);
    System.out.println();
    System.out.printf("%-10s %8s %13s %9s %9s  %s%n", "size", "pictures", "bit rate", "speed", "PSNR", "file");
    for (JobResult.Rendition rendition : result.renditions())
      System.out.printf(
          Locale.ROOT,
          "%-10s %8d %8.0f kb/s %8.1fx %6.2f dB  %s%n",
          rendition.spec().sizeText(),
          rendition.frames(),
          rendition.bitRate(result.mediaMs()) / 1000,
          result.speed(),
          VideoQuality.psnr(source, rendition.file(), covered),
          rendition.file());
    System.out.println("speed: of the whole ladder, in multiples of real time; PSNR: without the logo's rectangle");
    System.out.println("contact sheet: " + result.contactSheet());
  }

  private void makeSource(Path file) throws HostException, IOException, InterruptedException {
    String frame =
        "mandelbrot=size=640x360:rate=30:maxiter=80,scale=" + SOURCE_WIDTH + ":" + SOURCE_HEIGHT + ",format=yuv420p";
    if (Files.exists(Path.of(FONT)))
      frame +=
          ",drawtext=fontfile=" + FONT + ":text='moving text  %{pts\\:hms}':fontsize=48:fontcolor=white"
              + ":box=1:boxcolor=black@0.5:boxborderw=12:y=h-120:x='mod(t*160,w+600)-600'";
    run(
        "ffmpeg", "-hide_banner", "-loglevel", "error", "-y", "-f", "lavfi", "-i", frame, "-f", "lavfi", "-i", AUDIO_SOURCE,
        "-t", Integer.toString(seconds), "-c:v", "libx264", "-preset", "veryfast", "-b:v", "4M", "-g", "60", "-c:a",
        "aac", "-b:a", "128k", file.toString());
  }

  private static void run(String... command) throws HostException, IOException, InterruptedException {
    Process process;
    try {
      process = new ProcessBuilder(command).redirectErrorStream(true).start();
    } catch (IOException e) {
      throw new HostException(command[0] + " cannot be run, is the package ffmpeg installed?");
    }
    process.getOutputStream().close();
    String said = new String(process.getInputStream().readAllBytes(), StandardCharsets.UTF_8).strip();
    if (process.waitFor() != 0) throw new HostException(command[0] + " failed: " + said.replace('\n', ' '));
  }

  // A play sign on a rounded plate with soft, half-transparent edges: it shows whether blending is right.
  private static void drawLogo(Path file) throws IOException {
    BufferedImage image = new BufferedImage(LOGO_WIDTH, LOGO_HEIGHT, BufferedImage.TYPE_INT_ARGB);
    Graphics2D graphics = image.createGraphics();
    graphics.setRenderingHint(RenderingHints.KEY_ANTIALIASING, RenderingHints.VALUE_ANTIALIAS_ON);
    graphics.setPaint(
        new GradientPaint(0, 0, new Color(230, 60, 30, 230), LOGO_WIDTH, 0, new Color(250, 180, 0, 150)));
    graphics.fillRoundRect(4, 4, LOGO_WIDTH - 8, LOGO_HEIGHT - 8, 28, 28);
    graphics.setColor(Color.WHITE);
    graphics.setStroke(new BasicStroke(4));
    graphics.drawRoundRect(4, 4, LOGO_WIDTH - 8, LOGO_HEIGHT - 8, 28, 28);
    for (int i = 0; i < 3; i++) {
      Path2D play = new Path2D.Double();
      double left = 30 + i * 36;
      play.moveTo(left, 20);
      play.lineTo(left + 30, 40);
      play.lineTo(left, 60);
      play.closePath();
      graphics.fill(play);
    }
    graphics.dispose();
    ImageIO.write(image, "png", file.toFile());
  }
}
