package com.zarvo.qvs.host.job;

import com.zarvo.qvs.host.media.AudioStreamInfo;
import com.zarvo.qvs.host.media.Interruption;
import com.zarvo.qvs.host.media.MediaReader;
import com.zarvo.qvs.host.media.StreamInfo;
import com.zarvo.qvs.host.model.Colors;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.NativeLibraries;
import com.zarvo.qvs.host.model.Rational;
import java.io.BufferedReader;
import java.io.File;
import java.io.IOException;
import java.io.InputStreamReader;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.Locale;
import java.util.function.Function;

/**
 * Makes any media file into a capture directory: raw pictures, a WAV file, and what says so. The ffmpeg program does the
 * reading; what it writes is raw.
 */
public final class CaptureMaker {
  private static final String VIDEO = "video.yuv";
  private static final String SOUND = "sound.wav";
  private static final Rational USUAL_RATE = new Rational(30, 1);
  private static final int MAX_SIDE = 8192;

  private final Path input;
  private final Path directory;
  private final double seconds;
  private final Interruption interruption;

  /** `seconds` is the most that is taken. */
  public CaptureMaker(Path input, Path directory, double seconds, Interruption interruption) {
    this.input = input;
    this.directory = directory;
    this.seconds = seconds;
    this.interruption = interruption;
  }

  /** Makes it; what there is now, in a line. `overwrite` lets one that is there already be replaced. */
  public String run(boolean overwrite, Function<Long, Progress> progressOf) throws HostException, IOException {
    NativeLibraries.loadMedia();
    StreamInfo video;
    AudioStreamInfo sound;
    try (MediaReader reader = MediaReader.open(input)) {
      video = reader.video() == null ? null : reader.video().upright();
      sound = reader.audio();
    }
    if (video == null && sound == null) throw new HostException(input + ": neither pictures nor sound in it");
    if (Files.exists(directory.resolve(CaptureDirectory.PROPERTIES)) && !overwrite)
      throw new HostException(directory + ": is a capture directory already; --overwrite lets it be replaced");
    try {
      Files.createDirectories(directory);
    } catch (IOException e) {
      throw new HostException(directory + ": cannot be made a directory");
    }
    boolean whole = false;
    try {
      // Nobody takes it for a device before it is whole.
      Files.deleteIfExists(directory.resolve(CaptureDirectory.PROPERTIES));
      String told = make(video, sound, progressOf);
      whole = true;
      return told;
    } finally {
      if (!whole) drop();
    }
  }

  private void drop() throws IOException {
    for (String name : List.of(VIDEO, SOUND)) Files.deleteIfExists(directory.resolve(name));
  }

  private String make(StreamInfo video, AudioStreamInfo sound, Function<Long, Progress> progressOf)
      throws HostException, IOException {
    List<String> command = new ArrayList<>(List.of("ffmpeg", "-nostdin", "-loglevel", "error", "-progress", "pipe:1", "-y"));
    command.addAll(List.of("-i", input.toAbsolutePath().toString()));
    StringBuilder properties = new StringBuilder();
    StringBuilder told = new StringBuilder();
    if (video != null) {
      int height = even(video.height());
      int width = even((int) Math.round(video.displayAspect() * height));
      Rational rate = video.frameRate().num() > 0 ? video.frameRate() : USUAL_RATE;
      addVideo(command, width, height, rate);
      properties.append(CaptureDirectory.pictures(VIDEO, width, height, rate));
      told.append(String.format(Locale.ROOT, "%dx%d at %.2f, ", width, height, rate.toDouble()));
    }
    if (sound != null) {
      int sampleRate = sound.sampleRate() > 0 ? sound.sampleRate() : 48_000;
      int channels = sound.channels() > 0 ? sound.channels() : 2;
      addSound(command, sampleRate, channels);
      properties.append(CaptureDirectory.sound(SOUND, sampleRate, channels));
      told.append(sampleRate).append(" Hz in ").append(channels).append(" channels, ");
    }
    long lengthMs = video != null ? video.durationMs() : sound.durationMs();
    run(command, progressOf.apply(Math.min(lengthMs, Math.round(seconds * 1000))));
    Files.writeString(directory.resolve(CaptureDirectory.PROPERTIES), properties);
    return directory + ": " + told + mebibytes() + " MiB";
  }

  private long mebibytes() throws IOException {
    long bytes = 0;
    for (String name : List.of(VIDEO, SOUND))
      if (Files.exists(directory.resolve(name))) bytes += Files.size(directory.resolve(name));
    return bytes >> 20;
  }

  private static int even(int size) {
    return Math.max(2, Math.min(MAX_SIDE, size & ~1));
  }

  // Planes Y, V, U, in the colours that renditions of that size are taken for.
  private void addVideo(List<String> command, int width, int height, Rational rate) {
    String matrix = Colors.usual(height).matrix() == 1 ? "bt709" : "bt601";
    String filter =
        String.format(
            "scale=%d:%d:out_color_matrix=%s:out_range=tv,setsar=1,format=yuv420p,swapuv", width, height,
            matrix);
    command.addAll(List.of("-map", "0:v:0", "-vf", filter, "-fps_mode", "cfr", "-r", rate.num() + "/" + rate.den()));
    addEnd(command, "rawvideo", VIDEO);
  }

  private void addSound(List<String> command, int sampleRate, int channels) {
    command.addAll(List.of("-map", "0:a:0", "-af", "aresample=async=1:first_pts=0", "-c:a", "pcm_s16le"));
    command.addAll(List.of("-ar", Integer.toString(sampleRate), "-ac", Integer.toString(channels)));
    addEnd(command, "wav", SOUND);
  }

  private void addEnd(List<String> command, String muxer, String name) {
    if (seconds < Double.MAX_VALUE) command.addAll(List.of("-t", Double.toString(seconds)));
    command.addAll(List.of("-f", muxer, directory.toAbsolutePath().resolve(name).toString()));
  }

  private void run(List<String> command, Progress progress) throws HostException, IOException {
    File said = File.createTempFile("qvs-make", ".txt");
    try {
      Process process;
      try {
        process = new ProcessBuilder(command).redirectError(said).start();
      } catch (IOException e) {
        throw new HostException("ffmpeg cannot be run, is the package ffmpeg installed?");
      }
      interruption.onRequest(process::destroy);
      follow(process, progress);
      boolean good = awaited(process) == 0;
      interruption.onRequest(null);
      if (interruption.requested()) throw new HostException(input + ": interrupted, " + directory + " was not made");
      String text = Files.readString(said.toPath()).strip();
      if (!good) throw new HostException(input + ": " + (text.isEmpty() ? "cannot be read" : text.lines().findFirst().get()));
      if (!text.isEmpty()) System.err.println("qvs: " + input + ": " + text.lines().findFirst().get());
    } finally {
      progress.close();
      Files.deleteIfExists(said.toPath());
    }
  }

  private static void follow(Process process, Progress progress) throws IOException {
    try (BufferedReader lines =
        new BufferedReader(new InputStreamReader(process.getInputStream(), StandardCharsets.UTF_8))) {
      for (String line = lines.readLine(); line != null; line = lines.readLine())
        if (line.matches("out_time_us=\\d+")) progress.update(Long.parseLong(line.substring(12)) / 1000, 0);
    }
  }

  private static int awaited(Process process) {
    try {
      return process.waitFor();
    } catch (InterruptedException e) {
      process.destroy();
      Thread.currentThread().interrupt();
      return -1;
    }
  }
}
