package com.zarvo.qvs.api;

import com.zarvo.qvs.host.session.SessionLog;
import java.lang.System.Logger.Level;
import java.util.Iterator;
import java.util.ServiceConfigurationError;
import java.util.ServiceLoader;

/** Where log lines go. */
final class LogSinks {
  private static final Level[] LEVELS = {Level.INFO, Level.DEBUG, Level.INFO, Level.WARNING, Level.ERROR, Level.ERROR};
  private static final LogSink SINK = find();

  private LogSinks() {}

  private static LogSink find() {
    System.Logger logger = System.getLogger(LogSink.NAME);
    try {
      Iterator<LogSink> found = ServiceLoader.load(LogSink.class, LogSink.class.getClassLoader()).iterator();
      if (found.hasNext()) return found.next();
    } catch (ServiceConfigurationError | LinkageError e) {
      logger.log(Level.WARNING, "a log adapter on the class path cannot be used: " + e);
    }
    return (level, context, line) -> logger.log(level, line);
  }

  static void log(String context, SessionLog.Line line) {
    // A line that warns of nothing is none for those who watch warnings.
    boolean known = line.level() > 0 && line.level() < LEVELS.length;
    Level level = LEVELS[known ? line.level() : 0];
    SINK.log(level == Level.WARNING && !line.isTrouble() ? Level.INFO : level, context, line.text());
  }

  static void warn(String context, String text) {
    SINK.log(Level.WARNING, context, text);
  }
}
