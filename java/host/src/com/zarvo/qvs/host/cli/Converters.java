package com.zarvo.qvs.host.cli;

import com.zarvo.qvs.host.model.AudioSpec;
import com.zarvo.qvs.host.model.Container;
import com.zarvo.qvs.host.model.DecoderBackend;
import com.zarvo.qvs.host.model.Deinterlace;
import com.zarvo.qvs.host.model.Device;
import com.zarvo.qvs.host.model.EncoderList;
import com.zarvo.qvs.host.model.ImageFormat;
import com.zarvo.qvs.host.model.LiveQuality;
import com.zarvo.qvs.host.model.VideoTuning;
import com.zarvo.qvs.host.model.OverlaySpec;
import com.zarvo.qvs.host.model.RenditionSpec;
import com.zarvo.qvs.host.model.StillFit;
import com.zarvo.qvs.host.model.StillSize;
import java.util.function.Function;
import picocli.CommandLine.ITypeConverter;
import picocli.CommandLine.TypeConversionException;

/** Readers of option values; what is wrong with a value becomes the option's error. */
final class Converters {
  private Converters() {}

  private abstract static class Reader<T> implements ITypeConverter<T> {
    private final Function<String, T> parse;

    Reader(Function<String, T> parse) {
      this.parse = parse;
    }

    @Override
    public T convert(String text) {
      try {
        return parse.apply(text);
      } catch (IllegalArgumentException e) {
        throw new TypeConversionException(e.getMessage());
      }
    }
  }

  /** Reads a rendition. */
  static final class OfRendition extends Reader<RenditionSpec> {
    OfRendition() {
      super(RenditionSpec::parse);
    }
  }

  /** Reads how closely quality is watched. */
  static final class OfLiveQuality extends Reader<LiveQuality> {
    OfLiveQuality() {
      super(LiveQuality::parse);
    }
  }

  /** Reads a list of encoders. */
  static final class OfEncoders extends Reader<EncoderList> {
    OfEncoders() {
      super(EncoderList::parse);
    }
  }

  /** Reads a device. */
  static final class OfDevice extends Reader<Device> {
    OfDevice() {
      super(Device::parse);
    }
  }

  /** Reads a decoder. */
  static final class OfDecoder extends Reader<DecoderBackend> {
    OfDecoder() {
      super(DecoderBackend::of);
    }
  }

  /** Reads an overlay. */
  static final class OfOverlay extends Reader<OverlaySpec> {
    OfOverlay() {
      super(OverlaySpec::parse);
    }
  }

  /** Reads an audio rendition. */
  static final class OfAudio extends Reader<AudioSpec> {
    OfAudio() {
      super(AudioSpec::parse);
    }
  }

  /** Reads a container's name. */
  static final class OfContainer extends Reader<Container> {
    OfContainer() {
      super(Container::of);
    }
  }

  /** Reads what becomes of interlaced pictures. */
  static final class OfDeinterlace extends Reader<Deinterlace> {
    OfDeinterlace() {
      super(Deinterlace::of);
    }
  }

  /** Reads pictures a second, as a number or a fraction. */
  static final class OfFrameRate extends Reader<Double> {
    OfFrameRate() {
      super(RenditionSpec::frameRate);
    }
  }

  /** Reads a size of still pictures. */
  static final class OfStillSize extends Reader<StillSize> {
    OfStillSize() {
      super(StillSize::of);
    }
  }

  /** Reads how still pictures come into it. */
  static final class OfStillFit extends Reader<StillFit> {
    OfStillFit() {
      super(StillFit::of);
    }
  }

  /** Reads a format of still pictures. */
  static final class OfImageFormat extends Reader<ImageFormat> {
    OfImageFormat() {
      super(ImageFormat::of);
    }
  }

  /** Reads a speed of H.264 and H.265. */
  static final class OfPreset extends Reader<VideoTuning.Preset> {
    OfPreset() {
      super(VideoTuning.Preset::of);
    }
  }
}
