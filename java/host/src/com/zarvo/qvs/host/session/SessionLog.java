package com.zarvo.qvs.host.session;

import com.zarvo.qvs.transcoder.model.TranscoderLogStatement;
import com.zarvo.qvs.transcoder.model.TranscoderSessionNative;
import java.util.ArrayList;
import java.util.List;
import java.util.function.Consumer;

/** Collects what a session logs. The session keeps at most 1000 lines, so it is fetched now and then. */
public final class SessionLog {
  /** Levels as the native side numbers them. */
  private static final int WARN = 3;

  private static final String CHECK_PASSED = "h264OutVideoChkSettings result: 0";
  private static final String CONTEXT_TAG = "{context}";
  private static final String[] LEVELS = {"?", "DEBUG", "INFO", "WARN", "ERROR", "FATAL"};
  private static final int KEPT_LINES = 2000;

  /** One line, the stream's name in its place. */
  public record Line(int level, String text) {
    /** True for a line that a user should see. The H.264 encoder warns of its check's result even when that is 0. */
    public boolean isTrouble() {
      return level >= WARN && !text.endsWith(CHECK_PASSED);
    }

    @Override
    public String toString() {
      return LEVELS[level > 0 && level < LEVELS.length ? level : 0] + " " + text;
    }
  }

  private final String context;
  private final Consumer<Line> listener;
  private final List<Line> lines = new ArrayList<>();
  private String lastTrouble = "";

  SessionLog(String context) {
    this(context, line -> {});
  }

  /** The same, each line of which goes to `listener` too. */
  SessionLog(String context, Consumer<Line> listener) {
    this.context = context;
    this.listener = listener;
  }

  /** What is new, also where so much was logged before that no more is kept. */
  public List<Line> fetch(long session) {
    List<TranscoderLogStatement> statements = new ArrayList<>();
    TranscoderSessionNative.getLogStatements(session, statements);
    List<Line> news = new ArrayList<>();
    for (TranscoderLogStatement statement : statements) {
      if (statement.statement == null) continue;
      Line line = new Line(statement.level, statement.statement.replace(CONTEXT_TAG, context));
      if (line.isTrouble()) lastTrouble = line.text();
      if (lines.size() < KEPT_LINES) lines.add(line);
      news.add(line);
      listener.accept(line);
    }
    return news;
  }

  /** The stream's name as it stands in lines. */
  public String context() {
    return context;
  }

  public List<Line> lines() {
    return lines;
  }

  /** The last line that tells of trouble, "" when there is none. */
  String lastTrouble() {
    return lastTrouble;
  }
}
