package com.zarvo.qvs.host.cli;

import com.zarvo.qvs.host.model.AudioConversion;
import com.zarvo.qvs.host.model.AudioSpec;
import picocli.CommandLine.ITypeConverter;
import picocli.CommandLine.Model.CommandSpec;
import picocli.CommandLine.Option;
import picocli.CommandLine.ParameterException;
import picocli.CommandLine.Spec;
import picocli.CommandLine.TypeConversionException;

/** Options that say what decoded sound is turned into before anybody sees it. */
final class AudioConversionOptions {
  @Spec(Spec.Target.MIXEE)
  private CommandSpec spec;

  @Option(
      names = "--audio-rate",
      paramLabel = "HZ",
      defaultValue = "0",
      description = "Turn decoded sound into this rate, for all renditions.")
  private int rate;

  @Option(
      names = "--audio-channels",
      paramLabel = "N",
      defaultValue = "0",
      description = "Turn decoded sound into so many channels, for all renditions.")
  private int channels;

  @Option(
      names = "--audio-mask",
      paramLabel = "BITS",
      defaultValue = "0",
      converter = MaskConverter.class,
      description = "Speakers of these channels as bits, e.g. 0x3 for left and right.")
  private int mask;

  @Option(
      names = "--audio-source-mask",
      paramLabel = "BITS",
      defaultValue = "0",
      converter = MaskConverter.class,
      description = "Speakers of the input's channels, where they are not the usual ones.")
  private int sourceMask;

  /** What the options say; refuses what cannot be. */
  AudioConversion wanted() {
    refuse(rate < 0 || rate > AudioSpec.MAX_RATE, "--audio-rate " + rate + " is outside 1 to " + AudioSpec.MAX_RATE);
    refuse(
        channels < 0 || channels > AudioSpec.MAX_CHANNELS,
        "--audio-channels " + channels + " is outside 1 to " + AudioSpec.MAX_CHANNELS);
    refuse(
        mask != 0 && channels != 0 && Integer.bitCount(mask) != channels,
        "--audio-mask does not name " + channels + " speakers");
    return new AudioConversion(rate, channels, sourceMask, mask);
  }

  private void refuse(boolean wrong, String text) {
    if (wrong) throw new ParameterException(spec.commandLine(), text);
  }

  /** Reads speaker bits. */
  static final class MaskConverter implements ITypeConverter<Integer> {
    @Override
    public Integer convert(String text) {
      try {
        return AudioSpec.mask("mask", text, 0);
      } catch (IllegalArgumentException e) {
        throw new TypeConversionException(e.getMessage());
      }
    }
  }
}
