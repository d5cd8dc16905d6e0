package com.zarvo.qvs.host.cli;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertNull;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.zarvo.qvs.host.job.JobSettings;
import com.zarvo.qvs.host.job.Overwrite;
import com.zarvo.qvs.host.job.TranscodeJob;
import com.zarvo.qvs.host.media.Interruption;
import com.zarvo.qvs.host.model.Container;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.RenditionSpec;
import com.zarvo.qvs.host.replay.Replay;
import com.zarvo.qvs.host.session.Recording;
import com.zarvo.qvs.host.support.Clips;
import com.zarvo.qvs.transcoder.model.TranscoderSessionNative;
import java.io.IOException;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.Random;
import java.util.zip.CRC32;
import org.junit.jupiter.api.BeforeAll;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

/** Recordings of native calls: whole ones, and those that a process, a ring or a bad disk has left incomplete. */
class ReplayTest {
  private static final int SLOT = 1 << 20;
  private static final byte EXIT = 5;

  @TempDir static Path folder;
  private static Path clip;
  private static Path whole;

  @BeforeAll
  static void record() throws Exception {
    clip = Clips.testVideo(folder.resolve("clip.ivf"), "160x90", "25", 75, "");
    whole = folder.resolve("whole.rec");
    Recording recording = Recording.of(whole, 0);
    try {
      transcode("whole");
    } finally {
      recording.close();
    }
    transcode("unrecorded");
  }

  private static void transcode(String name) throws HostException, IOException {
    List<RenditionSpec> ladder = List.of(RenditionSpec.parse("96x54@100k,codec=vp8"), RenditionSpec.parse("64x36@60k,codec=h264"));
    JobSettings settings =
        JobSettings.of(clip, folder.resolve(name)).renditions(ladder).parallel(true).realTime(true).format(Container.MKV).overwrite(Overwrite.ALWAYS).build();
    new TranscodeJob(settings, Console::progress, new Interruption()).run();
  }

  private static Replay.Result replay(Path file) throws HostException, IOException {
    return new Replay(file, false, 1, line -> {}).run();
  }

  @Test
  void aLadderReplaysToTheByte() throws Exception {
    Replay.Result result = replay(whole);
    assertTrue(result.isEqual(), result.toString());
    assertEquals(1, result.sessions(), "what came behind its end is not in it");
    assertTrue(result.compared() > 1000, result.toString());
    assertNull(result.endsWithin());
  }

  @Test
  void anotherAnswerIsToldWithItsCall() throws Exception {
    byte[] bytes = Files.readAllBytes(whole);
    List<Integer> exits = chunks(bytes).stream().filter(at -> bytes[at + 24] == EXIT).toList();
    int changed = exits.get(exits.size() / 2);
    bytes[changed + 24 + 1 + Long.BYTES] ^= 1;
    seal(bytes, changed);
    Replay.Result result = replay(Files.write(folder.resolve("changed.rec"), bytes));
    long call = ByteBuffer.wrap(bytes).order(ByteOrder.LITTLE_ENDIAN).getLong(changed + 25);
    assertFalse(result.isEqual());
    assertTrue(result.differences().get(0).matches("call " + call + ", \\w+\\(.*expected \\d+, got \\d+"), result.toString());
  }

  /** The process is killed in the midst of its work, with no word of warning. */
  @Test
  void aKilledProcessLeavesAllUpToThere() throws Exception {
    Path file = folder.resolve("killed.rec");
    Path longer = Clips.testVideo(folder.resolve("longer.ivf"), "160x90", "25", 1500, "");
    ProcessBuilder builder =
        new ProcessBuilder(
            ProcessHandle.current().info().command().orElse("java"), "-Dqvs.library.dir=" + System.getProperty("qvs.library.dir"),
            "-cp", System.getProperty("java.class.path"), Main.class.getName(), "transcode", longer.toString(), "-o",
            folder.resolve("killed").toString(), "--realtime", "--rendition", "96x54@100k");
    builder.environment().put("QVS_RECORD", file.toString());
    Process process = builder.redirectErrorStream(true).redirectOutput(folder.resolve("killed.txt").toFile()).start();
    while (process.isAlive() && (!Files.exists(file) || Files.size(file) < 4L * SLOT)) Thread.sleep(20);
    assertTrue(process.isAlive(), () -> "it ended too early: " + said("killed.txt"));
    process.destroyForcibly().waitFor();
    Replay.Result result = replay(file);
    assertTrue(result.isEqual() && result.compared() > 100, result.toString());
  }

  private static String said(String name) {
    try {
      return Files.readString(folder.resolve(name));
    } catch (IOException e) {
      return e.toString();
    }
  }

  /** The first session outgrows the file; one that lies within what is kept is exact all the same. */
  @Test
  void aRingKeepsTheSetUpAndTheNewest() throws Exception {
    Path file = folder.resolve("ring.rec");
    Recording recording = Recording.of(file, 8);
    try {
      long older = TranscoderSessionNative.createInstance();
      // No decoder is there to take them: they are refused, and fill the ring all the same.
      byte[] packet = new byte[SLOT];
      for (int i = 0; i < 12; i++) TranscoderSessionNative.videoDecoderAddFrame(older, packet, 0, packet.length, i, 1);
      TranscoderSessionNative.destroyInstance(older);
      transcode("newest");
    } finally {
      recording.close();
    }
    assertEquals(8L * SLOT, Files.size(file));
    Replay.Result result = replay(file);
    assertTrue(result.isEqual(), result.toString());
    assertEquals(2, result.sessions());
    assertTrue(result.compared() > 1000, result.toString());
    assertTrue(result.remarks().toString().contains("lack a part"), result.toString());
  }

  @Test
  void whatIsDamagedIsToldAndNeverBelieved() throws Exception {
    byte[] good = Files.readAllBytes(whole);
    List<Integer> chunks = chunks(good);
    Random random = new Random(1);
    for (int round = 0; round < 60; round++) {
      byte[] bytes = good.clone();
      int at = chunks.get(random.nextInt(chunks.size()));
      int length = ByteBuffer.wrap(bytes).order(ByteOrder.LITTLE_ENDIAN).getInt(at);
      int changed = at + 24 + random.nextInt(Math.min(length, 64));
      bytes[changed] = (byte) (random.nextBoolean() ? 0xFF : random.nextInt());
      // Every other time with a checksum that says all is well.
      if (round % 2 == 0) seal(bytes, at);
      Path file = Files.write(folder.resolve("damaged.rec"), bytes);
      try {
        Replay.Result result = new Replay(file, true, 1, line -> {}).run();
        if (round % 2 == 1 && bytes[changed] != good[changed]) assertTrue(result.damage().contains("at byte " + at), result.damage());
      } catch (HostException e) {
        assertTrue(e.getMessage().contains("frame"), e.getMessage());
      }
    }
    Path cut = Files.write(folder.resolve("cut.rec"), Arrays.copyOf(good, chunks.get(chunks.size() / 2) + 30));
    assertTrue(replay(cut).differences().isEmpty());
  }

  /** Where the chunks lie, in the order of the file. */
  private static List<Integer> chunks(byte[] bytes) {
    List<Integer> found = new ArrayList<>();
    ByteBuffer file = ByteBuffer.wrap(bytes).order(ByteOrder.LITTLE_ENDIAN);
    for (int slot = 0; slot < bytes.length; slot += SLOT) {
      for (int at = slot + 16; at + 24 < slot + SLOT && file.getInt(at) != 0; at += (24 + file.getInt(at) + 7) / 8 * 8) found.add(at);
    }
    return found;
  }

  private static void seal(byte[] bytes, int at) {
    ByteBuffer file = ByteBuffer.wrap(bytes).order(ByteOrder.LITTLE_ENDIAN);
    CRC32 sum = new CRC32();
    sum.update(bytes, at + 8, 16 + file.getInt(at));
    file.putInt(at + 4, (int) sum.getValue());
  }
}
