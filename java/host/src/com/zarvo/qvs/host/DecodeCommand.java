package com.zarvo.qvs.host;

import java.io.IOException;
import java.nio.file.Path;
import java.security.MessageDigest;
import java.security.NoSuchAlgorithmException;
import java.util.HexFormat;
import java.util.List;
import java.util.concurrent.Callable;
import picocli.CommandLine.Command;
import picocli.CommandLine.Option;
import picocli.CommandLine.Parameters;

/** "decode": what the session's decoder delivers, a line a picture. */
@Command(name = "decode", description = "Decodes a file and prints one line a picture.")
final class DecodeCommand implements Callable<Integer> {
  private static final int LEVEL_WARN = SessionLog.WARN;

  @Parameters(paramLabel = "INPUT", description = "The file to read, in any container.")
  private Path input;

  @Option(
      names = "--framemd5",
      description = "With the md5 of each picture (planes Y, U, V as the pool holds them) and of all together.")
  private boolean sums;

  @Override
  public Integer call() throws Exception {
    NativeLibraries.loadMedia();
    try (MediaReader reader = MediaReader.open(input)) {
      reader.ignore(MediaKind.AUDIO);
      VideoCodec codec = TranscodeJob.checkSource(input, reader.video());
      SessionSettings settings =
          new SessionSettings(
              input.getFileName().toString(), codec, reader.video(), List.of(), List.of(), false, 1, 0);
      Printer printer = new Printer();
      try (TranscodeSession session = new TranscodeSession(settings, printer)) {
        if (sums) printer.tap = new PictureTap(session.handle());
        try {
          decodeAll(reader, session);
        } finally {
          if (printer.tap != null) printer.tap.close();
        }
        printer.printTotal();
        Console.printTrouble(session.log().lines());
        boolean delivered = session.log().lines().stream().noneMatch(line -> line.level() >= LEVEL_WARN);
        return printer.count > 0 && delivered ? 0 : 1;
      }
    }
  }

  private static void decodeAll(MediaReader reader, TranscodeSession session) throws HostException, IOException {
    TimecodeMap times = new TimecodeMap();
    for (MediaPacket packet = reader.next(); packet != null; packet = reader.next())
      session.push(packet, times.assign(packet));
  }

  private static MessageDigest md5() {
    try {
      return MessageDigest.getInstance("MD5");
    } catch (NoSuchAlgorithmException e) {
      throw new IllegalStateException(e);
    }
  }

  /** Prints "index, timecode, WxH, md5" a picture. */
  private static final class Printer implements SessionOutput {
    private final MessageDigest total = md5();
    private final MessageDigest one = md5();
    private PictureTap tap;
    private long count;

    @Override
    public void decoded(long timecode, int width, int height) {
      StringBuilder line = new StringBuilder();
      line.append(count++).append(", ").append(timecode).append(", ").append(width).append('x').append(height);
      if (tap != null) {
        byte[] picture = tap.lastPicture();
        one.update(picture, 0, tap.length());
        total.update(picture, 0, tap.length());
        line.append(", ").append(HexFormat.of().formatHex(one.digest()));
      }
      System.out.println(line);
    }

    void printTotal() {
      String sum = tap == null ? "" : ", " + HexFormat.of().formatHex(total.digest());
      System.out.println("pictures: " + count + sum);
    }
  }
}
