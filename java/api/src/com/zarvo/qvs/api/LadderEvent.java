package com.zarvo.qvs.api;

import com.zarvo.qvs.host.session.DeviceEvent;
import com.zarvo.qvs.host.session.EncoderEvent;

/**
 * Something that befell an encoder or a device of a ladder.
 *
 * @param rung its number, -1 for a device
 * @param milliseconds time of the first picture that is concerned, -1 before any
 * @param what in words, for a person
 * @param why the reason in words
 */
public record LadderEvent(Kind kind, int rung, long milliseconds, String what, String why) {
  /** What it was. */
  public enum Kind {
    /** An encoder of the list was not taken: it never gave a packet. */
    ENCODER_REFUSED,
    /** An encoder failed while it ran; the next of the list is to take its place. */
    ENCODER_FAILED,
    /** The first packet came of an encoder that took another's place. */
    ENCODER_REPLACED,
    /** A device or decoder is not used, or not any more. */
    DEVICE_LEFT
  }

  static LadderEvent of(EncoderEvent event) {
    Kind kind =
        switch (event.kind()) {
          case REFUSED -> Kind.ENCODER_REFUSED;
          case ASKED -> Kind.ENCODER_FAILED;
          case APPLIED -> Kind.ENCODER_REPLACED;
        };
    return new LadderEvent(kind, event.rendition(), event.milliseconds(), event.toString(), event.why());
  }

  static LadderEvent of(DeviceEvent event) {
    return new LadderEvent(Kind.DEVICE_LEFT, -1, event.milliseconds(), event.toString(), event.why());
  }

  @Override
  public String toString() {
    return what;
  }
}
