package com.zarvo.qvs.host.cli;

import com.zarvo.qvs.host.job.FrameChecksums;
import com.zarvo.qvs.host.job.WaveFile;
import com.zarvo.qvs.host.media.MediaFeed;
import com.zarvo.qvs.host.media.MediaKind;
import com.zarvo.qvs.host.media.MediaPacket;
import com.zarvo.qvs.host.media.MediaReader;
import com.zarvo.qvs.host.model.DecoderBackend;
import com.zarvo.qvs.host.model.Deinterlace;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.MediaInput;
import com.zarvo.qvs.host.model.NativeLibraries;
import com.zarvo.qvs.host.session.AudioSettings;
import com.zarvo.qvs.host.session.AudioSources;
import com.zarvo.qvs.host.session.SessionLog;
import com.zarvo.qvs.host.session.SessionOutput;
import com.zarvo.qvs.host.session.SessionSettings;
import com.zarvo.qvs.host.session.TranscodeSession;
import com.zarvo.qvs.transcoder.model.TranscoderNativeAudioFrame;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.List;
import java.util.concurrent.Callable;
import picocli.CommandLine.Command;
import picocli.CommandLine.Mixin;
import picocli.CommandLine.Option;
import picocli.CommandLine.Parameters;

/** "decode": what the session's decoders deliver, a line a picture, or the sound as a file. */
@Command(name = "decode", description = "Decodes a file and prints one line a picture.")
final class DecodeCommand implements Callable<Integer> {
  @Parameters(paramLabel = "INPUT", description = "The file to read, in any container; - for standard input, a URL or pictures as for transcode.")
  private String address;

  @Mixin private InputOptions reading;

  @Option(
      names = "--fps",
      paramLabel = "RATE",
      defaultValue = "0",
      converter = Converters.OfFrameRate.class,
      description = "Pictures a second of an input that is a sequence of pictures, 25 by default.")
  private double pictureRate;

  private Path input;

  @Option(
      names = "--framemd5",
      description = "With the md5 of each picture (planes Y, U, V as the pool holds them) and of all together.")
  private boolean sums;

  @Option(names = "--pcm", paramLabel = "FILE.wav", description = "Write the decoded sound instead, as 16-bit WAV.")
  private Path pcm;

  @Option(
      names = "--deinterlace",
      paramLabel = "off|on|double",
      defaultValue = "on",
      converter = Converters.OfDeinterlace.class,
      description = "What becomes of interlaced pictures: on (default), off, or double for a picture a field.")
  private Deinterlace deinterlace;

  @Option(
      names = "--decoder",
      paramLabel = "NAME",
      converter = Converters.OfDecoder.class,
      description = "What decodes: software (default) or nvcuvid; software too where that does not take the stream.")
  private DecoderBackend decoder;

  @Option(
      names = "--audio-track",
      paramLabel = "N|LANG",
      description = "For --pcm: the audio track, by its number (from 1) or its language; the first by default.")
  private String audioTrack;

  @Mixin private AudioConversionOptions conversion;

  @Override
  public Integer call() throws Exception {
    MediaInput source = reading.input(address, pictureRate);
    input = source.path();
    NativeLibraries.loadMedia();
    try (MediaReader reader = MediaReader.open(source)) {
      return pcm == null ? decodeVideo(reader) : decodeAudio(reader);
    }
  }

  private int decodeVideo(MediaReader reader) throws HostException, IOException {
    reader.ignore(MediaKind.AUDIO);
    Printer printer = new Printer();
    SessionSettings settings = settings().video(reader).build();
    try (TranscodeSession session = new TranscodeSession(settings, printer, null)) {
      if (sums) printer.sums = new FrameChecksums(session);
      try {
        for (MediaPacket packet = reader.next(); packet != null; packet = reader.next()) session.push(packet);
        session.drain();
      } finally {
        if (printer.sums != null) printer.sums.close();
      }
      printer.printTotal();
      if (session.damagedFrames() > 0) System.err.println("qvs: damaged pictures: " + session.damagedFrames());
      Console.printReconnects(reader.reconnects());
      return verdict(session, printer.count > 0 && session.refusedFrames() == 0, reader.shortfall());
    }
  }

  private int decodeAudio(MediaReader reader) throws HostException, IOException {
    if (audioTrack != null) reader.selectAudio(audioTrack);
    if (reader.audio() == null) throw new HostException(input + ": no audio stream in it");
    AudioSources.check(input, reader.audio());
    if (Files.exists(pcm) && Files.exists(input) && Files.isSameFile(pcm, input))
      throw new HostException(pcm + ": is the input itself");
    reader.ignore(MediaKind.VIDEO);
    AudioSettings audio = new AudioSettings(reader.audio(), conversion.wanted(), List.of());
    MediaFeed feed = new MediaFeed(reader);
    WaveWriter writer = new WaveWriter(pcm);
    try (writer;
        TranscodeSession session = new TranscodeSession(settings().audio(audio).build(), writer, feed)) {
      for (MediaPacket packet = feed.next(); packet != null; packet = feed.next())
        session.audio().push(packet, feed.following(MediaKind.AUDIO));
      session.drain();
      if (writer.file == null) throw new HostException(input + ": no sound in it could be decoded");
      System.out.println("samples: " + writer.file.samples() + ", " + writer.file.format());
      if (session.audio().failures() > 0) System.err.println("qvs: damaged packets: " + session.audio().failures());
      Console.printReconnects(reader.reconnects());
      return verdict(session, session.audio().failures() == 0, feed.trouble());
    }
  }

  private SessionSettings.Builder settings() {
    return SessionSettings.of(MediaReader.nameOf(input)).deinterlace(deinterlace)
        .decoder(decoder)
        .deviceListener(event -> System.err.println("qvs: " + event));
  }

  /** `trouble` is what broke the input, null where nothing did. */
  private static int verdict(TranscodeSession session, boolean whole, String trouble) {
    Console.printTrouble(session.log().lines());
    if (trouble != null) System.err.println("qvs: " + trouble);
    boolean delivered = session.log().lines().stream().noneMatch(SessionLog.Line::isTrouble);
    return whole && delivered && trouble == null ? 0 : 1;
  }

  /** Makes the file with the first block, so that refused input leaves no trace. */
  private static final class WaveWriter implements SessionOutput, AutoCloseable {
    private final Path path;
    private WaveFile file;

    WaveWriter(Path path) {
      this.path = path;
    }

    @Override
    public boolean wantsSamples() {
      return true;
    }

    @Override
    public void samples(TranscoderNativeAudioFrame block) throws HostException, IOException {
      if (file == null) file = create();
      file.write(block);
    }

    private WaveFile create() throws HostException {
      try {
        return new WaveFile(path);
      } catch (IOException e) {
        throw new HostException(path + ": cannot be written");
      }
    }

    @Override
    public void close() throws IOException {
      if (file != null) file.close();
    }
  }

  /** Prints "index, timecode, WxH, md5" a picture. */
  private static final class Printer implements SessionOutput {
    private FrameChecksums sums;
    private long count;

    @Override
    public void decoded(long timecode, int width, int height) {
      StringBuilder line = new StringBuilder();
      line.append(count++).append(", ").append(timecode).append(", ").append(width).append('x').append(height);
      if (sums != null) line.append(", ").append(sums.next());
      System.out.println(line);
    }

    void printTotal() {
      String sum = sums == null ? "" : ", " + sums.total();
      System.out.println("pictures: " + count + sum);
    }
  }
}
