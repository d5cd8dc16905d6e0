package com.zarvo.qvs.host.cli;

import com.zarvo.qvs.host.job.JobResult;
import com.zarvo.qvs.host.job.Progress;
import com.zarvo.qvs.host.media.MediaException;
import com.zarvo.qvs.host.model.Container;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.session.QualityFigures;
import com.zarvo.qvs.host.session.SessionLog;
import java.io.IOException;
import java.io.PrintStream;
import java.nio.file.FileSystemException;
import java.nio.file.Path;
import java.util.List;
import java.util.Locale;
import java.util.stream.Collectors;

/** What the commands print alike. */
final class Console {
  private Console() {}

  /** Progress goes to standard error, as a bar when a person watches. */
  static Progress progress(long totalMs) {
    return new Progress(System.err, System.console() != null, totalMs);
  }

  static void printRenditions(JobResult result, PrintStream out) {
    if (!result.renditions().isEmpty())
      out.printf("%-12s %-5s %9s %12s %8s  %s%n", "size", "codec", "pictures", "bit rate", "speed", "file");
    for (JobResult.Rendition rendition : result.renditions()) out.println(row(result, rendition));
    if (!result.audioRenditions().isEmpty())
      out.printf("%-12s %-6s %8s %12s %8s  %s%n", "sound", "codec", "packets", "bit rate", "speed", "file");
    for (JobResult.AudioRendition audio : result.audioRenditions()) out.println(row(result, audio));
    if (result.contactSheet() != null) out.println("contact sheet: " + result.contactSheet());
  }

  private static String row(JobResult result, JobResult.Rendition rendition) {
    return String.format(
        Locale.ROOT,
        "%-12s %-5s %9d %7.0f kb/s %7.1fx  %s",
        rendition.spec().sizeText(),
        rendition.spec().codec().codecName,
        rendition.frames(),
        rendition.bitRate(result.mediaMs()) / 1000,
        result.speed(),
        rendition.file());
  }

  private static String row(JobResult result, JobResult.AudioRendition audio) {
    return String.format(
        Locale.ROOT,
        "%-12s %-6s %8d %7.0f kb/s %7.1fx  %s",
        audio.spec().sampleRate() + "x" + audio.spec().channels(),
        audio.spec().codec().codecName,
        audio.packets(),
        audio.bitRate(result.mediaMs()) / 1000,
        result.speed(),
        audio.files().stream().map(Console::shortName).collect(Collectors.joining(", ")));
  }

  private static String shortName(Path file) {
    String name = file.getFileName().toString();
    return name.equals(Container.PLAYLIST) ? file.getParent().getFileName() + "/" + name : name;
  }

  /** A failure in one line for the user. */
  static String explain(Exception e) {
    if (e instanceof HostException || e instanceof MediaException) return e.getMessage();
    if (e instanceof FileSystemException file)
      return file.getFile() + ": " + (file.getReason() == null ? "cannot be written" : file.getReason());
    if (e instanceof IOException) return "reading or writing failed: " + e.getMessage();
    return "internal error: " + e;
  }

  /** Asks a person whether files may be replaced; where none is at the terminal, they may not. */
  static boolean mayReplace(List<Path> existing) {
    java.io.Console terminal = System.console();
    if (terminal == null) return false;
    String more = existing.size() > 1 ? " and " + (existing.size() - 1) + " more exist" : " exists";
    String answer = terminal.readLine("%s%s already. Replace? [y/N] ", existing.get(0), more);
    return answer != null && answer.strip().toLowerCase(Locale.ROOT).startsWith("y");
  }

  /** Log lines that tell of trouble. */
  static void printTrouble(Iterable<SessionLog.Line> lines) {
    for (SessionLog.Line line : lines) if (line.isTrouble()) System.err.println("qvs: " + line.text());
  }

  private static void printQuality(String rung, QualityFigures quality) {
    String why = quality.trouble() == null ? "the CPU time allowed for it did not reach" : quality.trouble();
    String text =
        quality.pictures() > 0
            ? String.format(
                Locale.ROOT, "PSNR %.2f dB, SSIM %.4f over %d pictures", quality.psnrDb(), quality.similarity(), quality.pictures())
            : "its quality was not measured: " + why;
    System.err.println("qvs: " + rung + ": " + text);
  }

  /** A file goes on where it was; what a live stream brought meanwhile is lost. */
  static void printReconnects(long count) {
    if (count > 0) System.err.println("qvs: lost connections: " + count + ", made anew");
  }

  /** What the renditions lack, or have elsewhere. */
  static void printLosses(JobResult result, Container format) {
    if (result.isDecodedBefore())
      System.err.println(
          "qvs: " + result.source().codecName()
              + " is decoded by libavcodec ahead of the session, which costs a copy of each picture");
    printReconnects(result.reconnects());
    for (JobResult.LeftOutAudio leftOut : result.leftOutAudio()) System.err.println("qvs: " + leftOut);
    if (result.damagedFrames() > 0) System.err.println("qvs: damaged pictures: " + result.damagedFrames());
    if (result.damagedAudioPackets() > 0)
      System.err.println("qvs: " + result.damagedAudioPackets() + " packets of sound were damaged and left out");
    if (result.losesDisplay())
      System.err.println(
          "qvs: " + format.label() + " cannot say that the pictures are to be " + result.source().display()
              + ": they are written as coded");
    for (int i = 0; i < result.quality().size() && i < result.renditions().size(); i++)
      printQuality(result.renditions().get(i).spec().sizeText(), result.quality().get(i));
    if (result.renditions().isEmpty()) return;
    for (JobResult.AudioRendition audio : result.audioRenditions())
      if (!format.holds(audio.spec().codec()))
        System.err.println(
            "qvs: " + format.label() + " cannot hold " + audio.spec().codec().codecName + ": it is in "
                + audio.files().get(0));
  }
}
