package com.zarvo.qvs.host.watch;

import com.zarvo.qvs.host.session.RungCounters;
import com.zarvo.qvs.host.session.SessionCounters;
import com.zarvo.qvs.host.session.SoundCounters;
import com.zarvo.qvs.host.session.StageTimes;
import java.util.Arrays;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;

/** A session's numbers as maps, named as in the report of a job. */
final class SessionNumbers {
  private SessionNumbers() {}

  /** What a line of progress tells. */
  static Map<String, Object> brief(SessionCounters session) {
    Map<String, Object> input = new LinkedHashMap<>();
    input.put("pictures", session.pictures());
    input.put("damagedPictures", session.damagedPictures());
    input.put("damagedAudioPackets", session.damagedAudioPackets());
    input.put("seconds", session.mediaMs() / 1000.0);
    input.put("totalSeconds", session.totalMs() > 0 ? session.totalMs() / 1000.0 : null);
    Map<String, Object> map = new LinkedHashMap<>();
    map.put("session", session.id());
    map.put("name", session.name());
    map.put("input", input);
    map.put("renditions", session.rungs().stream().map(rung -> rung(session, rung)).toList());
    map.put("audio", session.sounds().stream().map(SessionNumbers::sound).toList());
    if (session.levels().length > 0) map.put("peaksDb", Arrays.stream(session.levels()).boxed().toList());
    map.put("avOffsetSeconds", session.avOffsetMs().isPresent() ? session.avOffsetMs().getAsLong() / 1000.0 : null);
    map.put("wallSeconds", session.wallSeconds());
    map.put("picturesPerSecond", session.pictures() / Math.max(1e-3, session.wallSeconds()));
    map.put("speed", session.speed());
    map.put("secondsLeft", secondsLeft(session));
    return map;
  }

  /** The same with the times of each stage. */
  static Map<String, Object> full(SessionCounters session) {
    Map<String, Object> map = brief(session);
    Map<String, Object> stages = new LinkedHashMap<>();
    stages.put("decode", times(session.decoding()));
    for (RungCounters rung : session.rungs())
      stages.put(rung.label(), Map.of("scale", times(rung.scaling()), "encode", times(rung.encoding())));
    map.put("stages", stages);
    return map;
  }

  /** Bits per second of input, as in the report. */
  static double bitRate(SessionCounters session, RungCounters rung) {
    return session.mediaMs() > 0 ? rung.bytes() * 8000.0 / session.mediaMs() : 0;
  }

  private static Map<String, Object> rung(SessionCounters session, RungCounters rung) {
    Map<String, Object> map = new LinkedHashMap<>();
    map.put("rung", rung.label());
    map.put("codec", rung.spec().codec().codecName);
    map.put("width", rung.spec().width());
    map.put("height", rung.spec().height());
    map.put("picturesIn", rung.picturesIn());
    map.put("pictures", rung.pictures());
    map.put("droppedPictures", rung.droppedPictures());
    map.put("queueDepth", rung.queueDepth());
    map.put("replacements", rung.replacements());
    map.put("bytes", rung.bytes());
    map.put("wantedBitRate", rung.spec().bitRate());
    map.put("bitRate", bitRate(session, rung));
    if (rung.quality() != null) map.put("quality", rung.quality().toMap());
    return map;
  }

  private static Map<String, Object> sound(SoundCounters sound) {
    Map<String, Object> map = new LinkedHashMap<>();
    map.put("codec", sound.spec().codec().codecName);
    map.put("wantedBitRate", sound.spec().bitRate());
    map.put("encodedPackets", sound.encodedPackets());
    map.put("encodedBytes", sound.encodedBytes());
    return map;
  }

  private static Map<String, Object> times(StageTimes stage) {
    Map<String, Object> map = new LinkedHashMap<>();
    map.put("calls", stage.count());
    map.put("seconds", stage.totalSeconds());
    for (double share : List.of(0.5, 0.95, 0.99))
      map.put("p" + Math.round(100 * share) + "Ms", stage.quantileSeconds(share) * 1000);
    return map;
  }

  private static Double secondsLeft(SessionCounters session) {
    if (session.totalMs() <= 0 || session.mediaMs() <= 0) return null;
    return Math.max(0, session.totalMs() - session.mediaMs()) / 1000.0 / session.speed();
  }
}
