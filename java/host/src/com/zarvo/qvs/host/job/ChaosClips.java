package com.zarvo.qvs.host.job;

import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.session.ChildProcess;
import java.nio.file.Files;
import java.nio.file.Path;
import java.time.Duration;
import java.util.ArrayList;
import java.util.List;

/** Short clips of several codecs, for a soak that was given none. */
public final class ChaosClips {
  private static final String PICTURES = "testsrc2=size=320x180:rate=25:duration=4";
  private static final String SOUND = "sine=frequency=440:sample_rate=48000:duration=4";
  private static final Duration DEADLINE = Duration.ofMinutes(2);

  /** By file name; each with the options of ffmpeg that make it. */
  private static final List<List<String>> FORMS =
      List.of(
          List.of("chaos.mp4", "-c:v", "libx264", "-preset", "veryfast", "-bf", "2", "-g", "25", "-c:a", "aac"),
          List.of("chaos.webm", "-c:v", "libvpx", "-deadline", "realtime", "-c:a", "libopus"),
          List.of("chaos.ts", "-c:v", "mpeg2video", "-b:v", "800k", "-c:a", "mp2"),
          List.of("chaos.mkv", "-c:v", "mpeg4", "-b:v", "600k", "-c:a", "aac", "-ac", "2"));

  private ChaosClips() {}

  /** Makes them in a folder, once. */
  public static List<Path> make(Path folder) throws HostException {
    List<Path> clips = new ArrayList<>();
    for (List<String> form : FORMS) {
      Path clip = folder.resolve(form.get(0));
      clips.add(clip);
      if (Files.exists(clip)) continue;
      List<String> command = new ArrayList<>(List.of("ffmpeg", "-v", "error", "-y"));
      command.addAll(List.of("-f", "lavfi", "-i", PICTURES, "-f", "lavfi", "-i", SOUND));
      command.addAll(form.subList(1, form.size()));
      command.add(clip.toString());
      ChildProcess made = ChildProcess.run(command, DEADLINE);
      if (made.code() != 0) throw new HostException("ffmpeg could not make " + clip + ": " + made.complaint().strip());
    }
    return clips;
  }
}
