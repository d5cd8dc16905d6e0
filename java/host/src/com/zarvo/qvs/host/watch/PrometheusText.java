package com.zarvo.qvs.host.watch;

import com.zarvo.qvs.host.job.ResidentMemory;
import com.zarvo.qvs.host.session.RungCounters;
import com.zarvo.qvs.host.session.SessionCounters;
import com.zarvo.qvs.host.session.SoundCounters;
import com.zarvo.qvs.host.session.StageTimes;
import java.io.IOException;
import java.util.Collection;
import java.util.List;
import java.util.function.ToDoubleBiFunction;
import java.util.function.ToDoubleFunction;

/** The numbers of sessions in Prometheus' text format. */
final class PrometheusText {
  static final String CONTENT_TYPE = "text/plain; version=0.0.4; charset=utf-8";

  /** One number of a session. */
  private record OfSession(String name, String type, String help, ToDoubleFunction<SessionCounters> value) {}

  /** One number of a rung. */
  private record OfRung(
      String name, String type, String help, ToDoubleBiFunction<SessionCounters, RungCounters> value) {}

  private static final List<OfSession> SESSION_ROWS =
      List.of(
          new OfSession("qvs_pictures_total", "counter", "Decoded pictures.", SessionCounters::pictures),
          new OfSession(
              "qvs_damaged_pictures_total", "counter", "Pictures that the decoder refused, mended or left out.",
              SessionCounters::damagedPictures),
          new OfSession(
              "qvs_damaged_audio_packets_total", "counter", "Packets of sound that could not be decoded.",
              SessionCounters::damagedAudioPackets),
          new OfSession("qvs_media_seconds_total", "counter", "Input that was taken.", s -> s.mediaMs() / 1000.0),
          new OfSession("qvs_wall_seconds", "gauge", "Seconds since the work began, or of it.", SessionCounters::wallSeconds),
          new OfSession("qvs_speed", "gauge", "Seconds of input per second.", SessionCounters::speed),
          new OfSession(
              "qvs_av_offset_seconds", "gauge", "Last coded sound less last coded picture, on the input's clock.",
              s -> s.avOffsetMs().isPresent() ? s.avOffsetMs().getAsLong() / 1000.0 : Double.NaN));

  private static final List<OfRung> RUNG_ROWS =
      List.of(
          new OfRung("qvs_rung_pictures_in_total", "counter", "Pictures to the encoder.", (s, r) -> r.picturesIn()),
          new OfRung("qvs_rung_pictures_total", "counter", "Coded pictures.", (s, r) -> r.pictures()),
          new OfRung(
              "qvs_rung_dropped_pictures_total", "counter", "Pictures that the rung's frame rate leaves out.",
              (s, r) -> r.droppedPictures()),
          new OfRung("qvs_rung_queue_depth", "gauge", "Pictures with the encoder.", (s, r) -> r.queueDepth()),
          new OfRung(
              "qvs_rung_replacements_total", "counter", "Encoders that took another's place.",
              (s, r) -> r.replacements()),
          new OfRung("qvs_rung_bytes_total", "counter", "Bytes of coded pictures.", (s, r) -> r.bytes()),
          new OfRung(
              "qvs_rung_bit_rate", "gauge", "Coded bits per second of input, since its beginning.",
              SessionNumbers::bitRate),
          new OfRung(
              "qvs_rung_measured_pictures_total", "counter", "Coded pictures whose quality was measured.",
              (s, r) -> r.quality() == null ? Double.NaN : r.quality().pictures()),
          new OfRung(
              "qvs_rung_psnr_db", "gauge", "PSNR of the last picture measured, against what its encoder was given.",
              (s, r) -> r.quality() == null ? Double.NaN : r.quality().lastPsnrDb()),
          new OfRung(
              "qvs_rung_ssim", "gauge", "SSIM of the same.",
              (s, r) -> r.quality() == null ? Double.NaN : r.quality().lastSimilarity()),
          new OfRung(
              "qvs_rung_wanted_bit_rate", "gauge", "Bits per second that were asked for.",
              (s, r) -> r.spec().bitRate()));

  private final StringBuilder out = new StringBuilder();

  private PrometheusText() {}

  static String of(Collection<SessionCounters> sessions) {
    PrometheusText text = new PrometheusText();
    text.sessions(sessions);
    text.rungs(sessions);
    text.sounds(sessions);
    text.stages(sessions);
    text.memory();
    return text.out.toString();
  }

  private void sessions(Collection<SessionCounters> sessions) {
    head("qvs_session_info", "gauge", "The stream's name.");
    for (SessionCounters session : sessions)
      sample("qvs_session_info", labels(session) + ",name=\"" + escaped(session.name()) + "\"", 1);
    for (OfSession row : SESSION_ROWS) {
      head(row.name, row.type, row.help);
      for (SessionCounters session : sessions)
        sample(row.name, labels(session), row.value.applyAsDouble(session));
    }
  }

  private void rungs(Collection<SessionCounters> sessions) {
    for (OfRung row : RUNG_ROWS) {
      head(row.name, row.type, row.help);
      for (SessionCounters session : sessions)
        for (RungCounters rung : session.rungs())
          sample(row.name, labels(session, rung), row.value.applyAsDouble(session, rung));
    }
  }

  private void sounds(Collection<SessionCounters> sessions) {
    head("qvs_sound_encoded_bytes_total", "counter", "Bytes of coded sound, as its encoder gave them.");
    for (SessionCounters session : sessions)
      for (int i = 0; i < session.sounds().size(); i++) {
        SoundCounters sound = session.sounds().get(i);
        String codec = sound.spec().codec().codecName;
        sample(
            "qvs_sound_encoded_bytes_total", labels(session) + ",sound=\"" + i + "\",codec=\"" + codec + "\"",
            sound.encodedBytes());
      }
  }

  private void stages(Collection<SessionCounters> sessions) {
    head("qvs_stage_seconds", "summary", "What a picture takes in the calls of a stage; quantiles of the latest.");
    for (SessionCounters session : sessions) {
      stage(labels(session) + ",rung=\"\",stage=\"decode\"", session.decoding());
      for (RungCounters rung : session.rungs()) {
        stage(labels(session, rung) + ",stage=\"scale\"", rung.scaling());
        stage(labels(session, rung) + ",stage=\"encode\"", rung.encoding());
      }
    }
  }

  private void stage(String labels, StageTimes times) {
    for (double share : List.of(0.5, 0.95, 0.99))
      sample("qvs_stage_seconds", labels + ",quantile=\"" + share + "\"", times.quantileSeconds(share));
    sample("qvs_stage_seconds_sum", labels, times.totalSeconds());
    sample("qvs_stage_seconds_count", labels, times.count());
  }

  private void memory() {
    head("process_resident_memory_bytes", "gauge", "Memory of the process that is really there.");
    try {
      sample("process_resident_memory_bytes", "", ResidentMemory.bytes());
    } catch (IOException e) {
      sample("process_resident_memory_bytes", "", Double.NaN);
    }
  }

  private void head(String name, String type, String help) {
    out.append("# HELP ").append(name).append(' ').append(help).append('\n');
    out.append("# TYPE ").append(name).append(' ').append(type).append('\n');
  }

  // What isn't known has no sample.
  private void sample(String name, String labels, double value) {
    if (Double.isNaN(value)) return;
    out.append(name);
    if (!labels.isEmpty()) out.append('{').append(labels).append('}');
    out.append(' ');
    if (value == Math.rint(value) && Math.abs(value) < 1L << 53) out.append((long) value);
    else out.append(value);
    out.append('\n');
  }

  private static String labels(SessionCounters session) {
    return "session=\"" + session.id() + "\"";
  }

  private static String labels(SessionCounters session, RungCounters rung) {
    return labels(session) + ",rung=\"" + rung.label() + "\"";
  }

  private static String escaped(String text) {
    return text.replace("\\", "\\\\").replace("\"", "\\\"").replace("\n", "\\n");
  }
}
