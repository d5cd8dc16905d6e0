package com.zarvo.qvs.host.cli;

import com.zarvo.qvs.host.model.MediaInput;
import picocli.CommandLine.Model.CommandSpec;
import picocli.CommandLine.Option;
import picocli.CommandLine.ParameterException;
import picocli.CommandLine.Spec;

/** The options of commands that read any input. */
final class InputOptions {
  private static final double MAX_PATIENCE = 3600;

  @Spec(Spec.Target.MIXEE)
  private CommandSpec spec;

  @Option(
      names = "--allow-any-format",
      description = {
        "Take whatever libavformat and libavcodec know, local playlists too; else only what is common and well tried.",
        "A local file never opens the network."
      })
  private boolean anyFormat;

  @Option(
      names = "--input-timeout",
      paramLabel = "SECONDS",
      defaultValue = "15",
      description = "How long the server of a URL may be silent, connecting anew included; 15 by default.")
  private double patience;

  /** `pictureRate` is for pictures that are files of their own, 0 for the usual one. */
  MediaInput input(String text, double pictureRate) {
    if (!(patience >= 0.1 && patience <= MAX_PATIENCE))
      throw new ParameterException(spec.commandLine(), "--input-timeout is outside 0.1 to 3600 seconds");
    try {
      return MediaInput.parse(text).pictureRate(pictureRate).patienceSeconds(patience).anyFormat(anyFormat);
    } catch (IllegalArgumentException e) {
      throw new ParameterException(spec.commandLine(), "INPUT " + text + ": " + e.getMessage());
    }
  }
}
