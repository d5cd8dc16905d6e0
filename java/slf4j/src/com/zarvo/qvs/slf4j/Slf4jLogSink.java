package com.zarvo.qvs.slf4j;

import com.zarvo.qvs.api.LogSink;
import java.util.Map;
import org.slf4j.Logger;
import org.slf4j.LoggerFactory;
import org.slf4j.MDC;

/** Hands log lines to slf4j, the stream's name in the MDC under "context". */
public final class Slf4jLogSink implements LogSink {
  private static final String CONTEXT = "context";

  private final Logger logger = LoggerFactory.getLogger(NAME);

  @Override
  public void log(System.Logger.Level level, String context, String line) {
    Map<String, String> before = MDC.getCopyOfContextMap();
    MDC.put(CONTEXT, context);
    try {
      switch (level) {
        case ERROR -> logger.error(line);
        case WARNING -> logger.warn(line);
        case INFO -> logger.info(line);
        default -> logger.debug(line);
      }
    } finally {
      if (before == null) MDC.remove(CONTEXT);
      else MDC.setContextMap(before);
    }
  }
}
