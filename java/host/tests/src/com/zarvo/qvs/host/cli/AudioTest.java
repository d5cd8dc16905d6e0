package com.zarvo.qvs.host.cli;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.zarvo.qvs.host.support.Beeps;
import com.zarvo.qvs.host.support.Clips;
import java.io.ByteArrayOutputStream;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.ValueSource;

/** Sound through the whole transcoder: what comes out, and when, seen by the ffmpeg tools. */
class AudioTest {
  private static final int WAVE_HEADER = 44;

  @TempDir static Path folder;

  private static Captured transcode(Path input, Path directory, String... more) {
    List<String> arguments =
        new ArrayList<>(List.of("transcode", input.toString(), "-o", directory.toString(), "--no-contact-sheet"));
    arguments.addAll(List.of(more));
    if (!arguments.contains("--format")) arguments.addAll(List.of("--format", "webm"));
    Captured run = Captured.run(arguments.toArray(new String[0]));
    assertEquals(0, run.code(), input + ": " + run.err());
    return run;
  }

  private static Path beeps(String name, String codec, int rate, double seconds) throws Exception {
    return Clips.make(
        "-f lavfi -i " + Beeps.source(rate, seconds) + " -c:a " + codec, folder.resolve(name));
  }

  /** A moving picture with beeps; `options` are those of the output. */
  private static Path withVideo(String name, String inputOptions, String options) throws Exception {
    return Clips.make(
        "-f lavfi -i testsrc2=size=160x90:rate=25 " + inputOptions + " -f lavfi -i " + Beeps.source(48000, 4)
            + " -t 4 -deadline realtime -cpu-used 8 -b:v 200k " + options,
        folder.resolve(name));
  }

  private static String probe(Path file, String what) throws Exception {
    return Clips.run("ffprobe", "-v", "error", "-show_entries", what, "-of", "csv=p=0", file.toString()).strip();
  }

  @ParameterizedTest
  @CsvSource({
    "alaw.wav,pcm_alaw,8000", "mulaw.wav,pcm_mulaw,8000", "two.mp2,mp2,44100", "three.mp3,libmp3lame,44100",
    "boxed.m4a,aac,44100", "plain.aac,aac,48000", "stream.ts,aac,32000", "vorbis.ogg,libvorbis,44100",
    "speex.ogg,libspeex,16000", "opus.webm,libopus,48000", "three.mkv,libmp3lame,24000"
  })
  void everyCodecComesOutAtItsTime(String name, String codec, int rate) throws Exception {
    Path source = beeps(name, codec, rate, 3);
    List<Double> expected = Beeps.fromStart(source, 0);
    String stem = name.substring(0, name.indexOf('.'));
    Path out = folder.resolve("out-" + name);
    transcode(source, out, "--audio", "opus@64k", "--audio", "vorbis@64k,rate=44100");
    Beeps.assertSame(expected, Beeps.in(out.resolve(stem + "_opus_64k.webm"), 0), "Opus of " + name);
    Beeps.assertSame(expected, Beeps.in(out.resolve(stem + "_vorbis_64k.webm"), 0), "Vorbis of " + name);
    transcode(source, out, "--format", "mp4", "--audio", "aac@96k,rate=48000", "--audio", "opus@64k");
    for (String made : List.of("_aac_96k.mp4", "_opus_64k.mp4")) {
      Path file = out.resolve(stem + made);
      Beeps.assertSame(expected, Beeps.in(file, 0), name + made);
      int before = Beeps.samples(source, 0, "-ar 48000 -ac 1").length;
      assertEquals(before, Beeps.samples(file, 0, "-ar 48000 -ac 1").length, 48 * 30, name + made);
    }
  }

  /** Codecs that the session has no decoder for: the host decodes them, and WebM takes Opus of whatever comes. */
  @ParameterizedTest
  @CsvSource({
    "ac3.ts,ac3,48000", "eac3.mkv,eac3,44100", "deep.wav,pcm_s24le,44100", "float.mkv,pcm_f32le,48000",
    "own.flac,flac,96000", "boxed.m4a,alac,48000", "small.wav,adpcm_ms,22050", "cinema.mkv,dca -strict -2,48000",
    "narrow.spx,libspeex,8000", "two.wav,pcm_alaw -ac 2,8000"
  })
  void whatTheSessionDoesNotDecodeComesOutAtItsTime(String name, String codec, int rate) throws Exception {
    Path source = beeps(name, codec, rate, 3);
    Path report = folder.resolve(name + ".json");
    Path out = folder.resolve("by-host-" + name);
    transcode(source, out, "--report", report.toString());
    Path file = out.resolve(name.substring(0, name.indexOf('.')) + "_opus_128k.webm");
    Beeps.assertSame(Beeps.fromStart(source, 0), Beeps.in(file, 0), name);
    int before = Beeps.samples(source, 0, "-ar 48000 -ac 1").length;
    assertEquals(before, Beeps.samples(file, 0, "-ar 48000 -ac 1").length, 48 * 30, name);
    String json = Files.readString(report);
    assertTrue(json.contains("\"audioDecoder\": \"libavcodec\"") && json.contains("\"leftOutAudio\": []"), json);
  }

  @Test
  void oneOfSeveralTracksIsTakenAndTheOthersAreNamed() throws Exception {
    String tones = "-f lavfi -i " + Beeps.source(48000, 3) + " -f lavfi -i anullsrc=r=44100:cl=mono -t 3";
    Path source =
        Clips.make(
            "-f lavfi -i testsrc2=size=64x48:rate=25 " + tones + " -map 0 -map 2 -map 1 -c:v libx264 -c:a:0 ac3 -c:a:1 aac"
                + " -metadata:s:a:0 language=ger -metadata:s:a:1 language=eng",
            folder.resolve("tracks.mkv"));
    Path first = folder.resolve("first");
    Captured run = transcode(source, first, "--format", "mp4", "--rendition", "64x48");
    assertTrue(
        run.err().contains("audio track 2 (aac, 48000 Hz, 1 channel, eng) is left out: track 1 is taken"), run.err());
    assertEquals(List.of(), Beeps.in(first.resolve("tracks_64x48.mp4"), 0));
    for (String wanted : List.of("2", "eng", "en")) {
      Path out = folder.resolve("track-" + wanted);
      Path report = folder.resolve("tracks.json");
      run =
          transcode(
              source, out, "--format", "mp4", "--rendition", "64x48", "--audio-track", wanted, "--report",
              report.toString());
      assertTrue(run.err().contains("audio track 1 (ac3, 44100 Hz, 1 channel, ger) is left out"), run.err());
      Beeps.assertSame(Beeps.in(source, 1), Beeps.in(out.resolve("tracks_64x48.mp4"), 0), wanted);
      String json = Files.readString(report).replaceAll("\\s+", " ");
      assertTrue(json.contains("{ \"track\": 1, \"language\": \"ger\", \"codec\": \"ac3\""), json);
    }
    refused("no audio track 'fr' in it, take track 1 (ac3", source, "--audio-track", "fr");
    run = transcode(source, folder.resolve("mute"), "--format", "mp4", "--rendition", "64x48", "--no-audio");
    assertTrue(run.err().contains("audio track 1 (ac3, 44100 Hz, 1 channel, ger) is left out: as asked for"), run.err());
    run = transcode(source, folder.resolve("none"), "--format", "ivf", "--rendition", "64x48");
    assertTrue(run.err().contains("is left out: ivf holds no audio"), run.err());
    assertEquals(List.of("tracks_64x48.ivf"), Clips.namesIn(folder.resolve("none")));
  }

  @ParameterizedTest
  @CsvSource({
    "late.webm,-itsoffset 1.25,-c:v libvpx -c:a libvorbis",
    "same.mp4,'',-c:v libvpx-vp9 -c:a aac",
    "gap.mkv,'','-c:v libvpx -c:a libmp3lame -af aselect=not(between(t\\,1.7\\,2.3))'",
    "cut.mkv,'',-c:v libvpx -c:a libopus -ss 0.33",
  })
  void soundAndPictureKeepTheirOffset(String name, String inputOptions, String options) throws Exception {
    Path source = withVideo(name, inputOptions, options);
    List<Double> expected = Beeps.fromStart(source, 0);
    List<String> frames = Clips.times(source);
    String stem = name.substring(0, name.indexOf('.'));
    Path webm = folder.resolve("webm-" + name);
    transcode(source, webm, "--rendition", "160x90@100k", "--audio", "opus@64k", "--audio", "vorbis@64k");
    Path file = webm.resolve(stem + "_160x90.webm");
    assertEquals(frames, Clips.times(file), name);
    Beeps.assertSame(expected, Beeps.in(file, 0), "Opus beside the pictures of " + name);
    Beeps.assertSame(expected, Beeps.in(file, 1), "Vorbis beside the pictures of " + name);
    Path mp4 = folder.resolve("mp4-" + name);
    transcode(source, mp4, "--format", "mp4", "--rendition", "160x90@100k,codec=vp9", "--audio", "aac@64k");
    Path boxed = mp4.resolve(stem + "_160x90.mp4");
    assertEquals(frames.size(), Clips.times(boxed).size(), name);
    assertEquals(Double.parseDouble(frames.get(0)), Double.parseDouble(Clips.times(boxed).get(0)), 0.001, name);
    Beeps.assertSame(expected, Beeps.in(boxed, 0), "AAC beside the pictures of " + name);
  }

  @Test
  void aClockThatJumpsBackGoesOn() throws Exception {
    Path part = beeps("part.ts", "mp2", 48000, 2);
    ByteArrayOutputStream twice = new ByteArrayOutputStream();
    for (int i = 0; i < 2; i++) twice.write(Files.readAllBytes(part));
    Path joined = Files.write(folder.resolve("joined.ts"), twice.toByteArray());
    Path out = folder.resolve("joined");
    transcode(joined, out, "--audio", "opus@64k");
    List<Double> once = Beeps.fromStart(part, 0);
    List<Double> all = Beeps.in(out.resolve("joined_opus_64k.webm"), 0);
    assertEquals(4, all.size(), all.toString());
    for (int i = 0; i < 2; i++) {
      assertEquals(once.get(i), all.get(i), 1, "before the jump");
      assertEquals(once.get(i) + 2000, all.get(i + 2), 40, "after the jump, within a packet");
    }
  }

  @ParameterizedTest
  @ValueSource(strings = {"libopus", "libvorbis", "flac"})
  void allLinksOfAChainedOggAreHeard(String codec) throws Exception {
    ByteArrayOutputStream chain = new ByteArrayOutputStream();
    for (int i = 0; i < 3; i++) chain.write(Files.readAllBytes(beeps("link.ogg", codec, 48000, 0.8)));
    Path source = Files.write(folder.resolve("chain-" + codec + ".ogg"), chain.toByteArray());
    Path out = folder.resolve("chain-" + codec);
    transcode(source, out);
    List<Double> heard = Beeps.in(out.resolve("chain-" + codec + "_opus_128k.webm"), 0);
    assertEquals(3, heard.size(), heard.toString());
    for (int i = 0; i < 3; i++) assertEquals(500 + 800 * i, heard.get(i), 30, "within a packet: " + heard);
  }

  @Test
  void afterAnOverlapSoundIsInStepAgain() throws Exception {
    Path first = beeps("first.ts", "mp2", 44100, 2);
    Path second = beeps("second.ts", "mp2 -output_ts_offset 1.8", 44100, 2);
    ByteArrayOutputStream both = new ByteArrayOutputStream();
    for (Path part : List.of(first, second)) both.write(Files.readAllBytes(part));
    Path source = Files.write(folder.resolve("overlap.ts"), both.toByteArray());
    double start = Beeps.startOf(first);
    List<Double> expected = new ArrayList<>();
    for (Path part : List.of(first, second)) Beeps.in(part, 0).forEach(ms -> expected.add(ms - start));
    Path out = folder.resolve("overlap");
    transcode(source, out, "--audio", "opus@64k", "--audio", "vorbis@64k");
    Beeps.assertSame(expected, Beeps.in(out.resolve("overlap_opus_64k.webm"), 0), "Opus");
    Beeps.assertSame(expected, Beeps.in(out.resolve("overlap_vorbis_64k.webm"), 0), "Vorbis");
  }

  @Test
  void theFormCanChangeOnTheWay() throws Exception {
    ByteArrayOutputStream both = new ByteArrayOutputStream();
    both.write(Files.readAllBytes(beeps("low.ts", "aac", 22050, 2)));
    both.write(
        Files.readAllBytes(
            Clips.make(
                "-f lavfi -i " + Beeps.source(48000, 2) + " -ac 2 -c:a aac -output_ts_offset 2.1",
                folder.resolve("high.ts"))));
    Path source = Files.write(folder.resolve("changes.ts"), both.toByteArray());
    // The reference counts on by the first rate too, so each part is asked alone.
    double start = Beeps.startOf(folder.resolve("low.ts"));
    List<Double> expected = new ArrayList<>();
    for (String part : List.of("low.ts", "high.ts"))
      for (double ms : Beeps.in(folder.resolve(part), 0)) expected.add(ms - start);
    Path out = folder.resolve("changes");
    transcode(source, out, "--format", "mp4", "--audio", "opus@64k", "--audio", "aac@64k,rate=44100,channels=2");
    Beeps.assertSame(expected, Beeps.in(out.resolve("changes_opus_64k.mp4"), 0), "Opus");
    Beeps.assertSame(expected, Beeps.in(out.resolve("changes_aac_64k.mp4"), 0), "AAC");
  }

  @Test
  void decodedSoundIsExactWhereTheCodecIs() throws Exception {
    for (String codec : List.of("pcm_alaw", "pcm_mulaw")) {
      Path source =
          Clips.make("-f lavfi -i anoisesrc=r=8000:d=1.3 -c:a " + codec, folder.resolve(codec + "-noise.wav"));
      short[] expected = Beeps.samples(source, 0, "");
      short[] found = decoded(source);
      assertEquals(expected.length, found.length, codec);
      // The decoders differ by design in the smallest steps, by less than half of one.
      for (int i = 0; i < found.length; i++) assertEquals(expected[i], found[i], 8, codec + " sample " + i);
    }
    // Channels that differ show their order.
    String six = "-f lavfi -i aevalsrc=0.1*sin(t*900)|0.2*sin(t*800)|0.3*sin(t*700)|0.4*sin(t*60)|0.5*sin(t*500)|0.6*sin(t*400):c=5.1:d=1";
    for (String coder : List.of("flac", "ac3")) {
      Path source = Clips.make(six + " -c:a " + coder, folder.resolve("six-" + coder + ".mkv"));
      short[] expected = Beeps.samples(source, 0, "");
      short[] found = decoded(source);
      assertEquals(expected.length, found.length, coder);
      for (int i = 0; i < found.length; i++) assertEquals(expected[i], found[i], 1, coder + " sample " + i);
    }
    Path mp2 = beeps("exact.mp2", "mp2", 48000, 1);
    short[] expected = Beeps.samples(mp2, 0, "");
    short[] found = decoded(mp2);
    assertEquals(expected.length, found.length);
    for (int i = 0; i < found.length; i++) assertEquals(expected[i], found[i], 2, "sample " + i);
  }

  private static short[] decoded(Path source, String... more) throws Exception {
    Path wave = folder.resolve("decoded.wav");
    List<String> arguments = new ArrayList<>(List.of("decode", source.toString(), "--pcm", wave.toString()));
    arguments.addAll(List.of(more));
    Captured run = Captured.run(arguments.toArray(new String[0]));
    assertEquals(0, run.code(), run.err());
    byte[] bytes = Files.readAllBytes(wave);
    short[] samples = new short[(bytes.length - WAVE_HEADER) / 2];
    ByteBuffer.wrap(bytes, WAVE_HEADER, samples.length * 2).order(ByteOrder.LITTLE_ENDIAN).asShortBuffer().get(samples);
    return samples;
  }

  @Test
  void theInputIsNeverWrittenOver() throws Exception {
    Path source = beeps("own.wav", "pcm_mulaw", 8000, 0.2);
    byte[] before = Files.readAllBytes(source);
    Captured run = Captured.run("decode", source.toString(), "--pcm", folder.resolve("./own.wav").toString());
    assertTrue(run.code() != 0 && run.err().contains("is the input itself"), run.err());
    assertArrayEquals(before, Files.readAllBytes(source));
  }

  @Test
  void gapsOfTheInputAreSilenceInTheWave() throws Exception {
    Path source = withVideo("hole.mkv", "", "-c:v libvpx -c:a libmp3lame -af aselect=not(between(t\\,1.7\\,2.3))");
    assertEquals(4.0, decoded(source).length / 48000.0, 0.06);
    assertArrayEquals(
        new String[] {"16000", "1"},
        probe(writtenWave(source), "stream=sample_rate,channels").split(","),
        "the conversion on the decoder is seen");
  }

  private static Path writtenWave(Path source) throws Exception {
    decoded(source, "--audio-rate", "16000", "--audio-channels", "1");
    return folder.resolve("decoded.wav");
  }

  @Test
  void conversionsOnDecoderAndRendition() throws Exception {
    Path source =
        Clips.make(
            "-f lavfi -i aevalsrc=0.5*sin(2000*t)|0:s=44100:d=1 -c:a libvorbis", folder.resolve("left.ogg"));
    Path out = folder.resolve("converted");
    Path report = folder.resolve("converted.json");
    transcode(
        source, out, "--format", "ogg", "--audio-rate", "24000", "--audio", "opus@48k", "--audio",
        "vorbis@48k,rate=16000,channels=1", "--audio", "aac@64k", "--report", report.toString());
    assertEquals("vorbis,16000,1", probe(out.resolve("left_vorbis_48k.ogg"), "stream=codec_name,sample_rate,channels"));
    assertEquals("aac,24000,2", probe(out.resolve("left_aac_64k.aac"), "stream=codec_name,sample_rate,channels"));
    short[] stereo = Beeps.samples(out.resolve("left_aac_64k.aac"), 0, "");
    assertTrue(loudness(stereo, 0, 2) > 20 * loudness(stereo, 1, 2), "left stays left");
    assertTrue(loudness(Beeps.samples(out.resolve("left_vorbis_48k.ogg"), 0, ""), 0, 1) > 2000, "mono has both");
    Captured run =
        Captured.run(
            "transcode", source.toString(), "-o", out.toString(), "--audio", "opus@48k,channels=2,mask=0x30",
            "--format", "webm");
    assertTrue(run.code() != 0 && run.err().contains("audioConverterCheckSettings"), "no such mix: " + run.err());
    assertFalse(Clips.namesIn(out).contains("left_opus_48k.webm"));
    String json = Files.readString(report);
    assertTrue(json.contains("\"audioCodec\": \"vorbis\"") && json.contains("\"sampleRate\": 24000"), json);
  }

  private static double loudness(short[] samples, int from, int step) {
    double sum = 0;
    for (int i = from; i < samples.length; i += step) sum += samples[i] * (double) samples[i];
    return Math.sqrt(sum * step / samples.length);
  }

  @Test
  void soundGoesWhereItCanBeHeld() throws Exception {
    Path source = withVideo("held.webm", "", "-c:v libvpx -c:a libopus");
    Path out = folder.resolve("held");
    Captured run =
        transcode(source, out, "--rendition", "64x48@90k", "--rendition", "96x72@90k", "--audio", "opus@48k",
            "--audio", "aac@64k");
    assertTrue(run.err().contains("webm cannot hold aac"), run.err());
    assertEquals(List.of("held_64x48.webm", "held_96x72.webm", "held_aac_64k.aac"), Clips.namesIn(out));
    for (String size : List.of("64x48", "96x72"))
      assertEquals("vp8\nopus", probe(out.resolve("held_" + size + ".webm"), "stream=codec_name"));
    Path alone = folder.resolve("alone");
    transcode(source, alone, "--no-video", "--format", "ogg", "--audio", "opus@48k");
    assertEquals(List.of("held_opus_48k.ogg"), Clips.namesIn(alone));
    // Without a codec's delay: bare AAC frames could hide whole frames of it only.
    Path talk = beeps("talk.wav", "pcm_s16le", 44100, 5);
    for (String format : List.of("ogg", "aac", "hls")) {
      Path only = folder.resolve("only-" + format);
      transcode(talk, only, "--format", format, "--keyframes", "2");
      if (format.equals("hls")) assertEquals(List.of("talk.m3u8", "talk_aac_128k"), Clips.namesIn(only));
      String name = format.equals("hls") ? "talk.m3u8" : "talk_" + (format.equals("ogg") ? "opus" : "aac") + "_128k." + format;
      Beeps.assertSame(Beeps.fromStart(talk, 0), Beeps.in(only.resolve(name), 0), format);
    }
    transcode(source, folder.resolve("ivf"), "--format", "ivf", "--rendition", "64x48@90k", "--audio", "opus@48k");
    assertEquals(List.of("held_64x48.ivf", "held_opus_48k.ogg"), Clips.namesIn(folder.resolve("ivf")));
  }

  private static void refused(String expected, Path input, String... more) {
    List<String> arguments =
        new ArrayList<>(List.of("transcode", input.toString(), "-o", folder.resolve("refused").toString()));
    arguments.addAll(List.of(more));
    if (!arguments.contains("--format")) arguments.addAll(List.of("--format", "webm"));
    Captured run = Captured.run(arguments.toArray(new String[0]));
    assertNotEquals(0, run.code(), expected);
    assertEquals(1, run.err().lines().count(), run.err());
    assertTrue(run.err().contains(expected), run.err());
    assertTrue(Files.notExists(folder.resolve("refused")), "refused input leaves no folder");
  }

  @Test
  void whatCannotBeServedIsSaidInOneLine() throws Exception {
    refused("no video stream", beeps("tone.flac", "flac", 48000, 0.2), "--no-audio");
    refused("no video stream", beeps("tone.mp3", "libmp3lame", 48000, 0.2), "--audio", "opus", "--rendition", "64x48");
    Path silent = Clips.testVideo(folder.resolve("silent.webm"), "64x48", "25", 3, "");
    refused("no audio stream", silent, "--audio", "aac");
    refused("mp4 cannot hold vp8", silent, "--format", "mp4", "--rendition", "64x48,codec=vp8");
    refused("nothing to do", silent, "--no-video");
    refused("--audio", silent, "--audio", "mp3@64k");
    refused("44100", silent, "--audio", "opus,rate=44100");
    refused("--audio-channels", silent, "--audio", "opus", "--audio-channels", "9");
    refused("--format", silent, "--format", "avi");
  }

  @Test
  void damagedSoundEndsWithoutHarm() throws Exception {
    String[][] clips = {
      {"hurt.mp3", "libmp3lame", "48000"}, {"hurt.aac", "aac", "44100"}, {"hurt.ts", "mp2", "48000"},
      {"hurt.ogg", "libvorbis", "44100"}, {"hurt.spx", "libspeex", "16000"}, {"hurt.webm", "libopus", "48000"},
      {"hurt.m4a", "aac", "48000"}, {"hurt.wav", "pcm_mulaw", "8000"},
      {"hurt.flac", "flac", "48000"}, {"hurt.ac3", "ac3", "48000"}
    };
    for (String[] clip : clips) {
      byte[] bytes = Files.readAllBytes(beeps(clip[0], clip[1], Integer.parseInt(clip[2]), 2));
      Path cut = Files.write(folder.resolve("cut-" + clip[0]), Arrays.copyOf(bytes, bytes.length * 2 / 3));
      for (int i = 400; i < bytes.length; i += 211) bytes[i] ^= 0x5a;
      Path flipped = Files.write(folder.resolve("flipped-" + clip[0]), bytes);
      for (Path hurt : List.of(cut, flipped)) {
        Captured run =
            Captured.run(
                "transcode", hurt.toString(), "-o", folder.resolve("hurt").toString(), "--audio", "opus@48k",
                "--audio", "aac@64k", "--overwrite");
        assertFalse(run.err().contains("\tat ") || run.err().contains("internal error"), hurt + ": " + run.err());
      }
    }
    assertTrue(Clips.namesIn(folder.resolve("hurt")).stream().noneMatch(name -> name.endsWith(".part")));
  }

  @Test
  void realSoundGoesThrough() throws Exception {
    Path media = Clips.media();
    if (media == null) {
      System.out.println("skipped: QVS_MEDIA names no folder of real streams");
      return;
    }
    String[] clips = {
      "audio/aac/loudsoftaac.aac", "audio/aac/sinesweep51m4a.m4a", "audio/aac/bear-640x360-aac_he-silent_right.mp4",
      "audio/mp3/bear-vbr-xing-header.mp3", "audio/vorbis/loudsoftogg.ogg", "audio/opus/sample_opus.mp4",
      "audio/speex/speex-with-comments.spx", "audio/g711/addf8-mulaw-GW.wav", "clips/mpeg2/bear.m2ts", "clips/h263/testvideo.3gp",
      "audio/g711/M1F1-Alaw-AFsp.wav", "audio/speex/female_scrub.spx",
      "clips/vp9/serenity_train_vp9_opus.webm"
    };
    for (String clip : clips) {
      Path source = media.resolve(clip);
      Path out = folder.resolve("real-" + source.getFileName());
      transcode(source, out, "--no-video", "--audio", "opus@96k");
      Path file = out.resolve(Clips.namesIn(out).get(0));
      short[] before = Beeps.samples(source, 0, "-ac 1 -ar 48000");
      short[] after = Beeps.samples(file, 0, "-ac 1 -ar 48000");
      // The reference drops the lead of one clip twice: as a cut of the container and as padding of the codec.
      assertEquals(before.length / 48000.0, after.length / 48000.0, clip.contains("_he-") ? 0.12 : 0.06, clip);
      double decibels = 20 * Math.log10(loudness(after, 0, 1) / loudness(before, 0, 1));
      System.out.printf("%s: %.2f dB%n", clip, decibels);
      assertEquals(0, decibels, 1, clip);
    }
  }
}
