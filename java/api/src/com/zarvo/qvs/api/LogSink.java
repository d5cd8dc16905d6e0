package com.zarvo.qvs.api;

/** Takes the lines of the library's log. One that `ServiceLoader` finds takes the place of `System.Logger`. */
public interface LogSink {
  /** Name of the logger. */
  String NAME = "com.zarvo.qvs";

  /** `context` names the stream; it stands in the line already. */
  void log(System.Logger.Level level, String context, String line);
}
