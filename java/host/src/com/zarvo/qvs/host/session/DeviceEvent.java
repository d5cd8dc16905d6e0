package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.model.Device;
import java.util.LinkedHashMap;
import java.util.Locale;
import java.util.Map;

/**
 * Something for which a session could not do with its device, or with the decoder that was asked for.
 *
 * @param what "device cuda:0" or "decoder nvcuvid"
 * @param milliseconds timecode of the last picture before, -1 at the start
 */
public record DeviceEvent(String what, long milliseconds, String why) {
  static DeviceEvent failed(Device device, long milliseconds, String why) {
    return new DeviceEvent("device " + device, milliseconds, why);
  }

  /** The members that a report gets. */
  public Map<String, Object> toMap() {
    Map<String, Object> map = new LinkedHashMap<>();
    map.put("what", what);
    if (milliseconds >= 0) map.put("seconds", milliseconds / 1000.0);
    map.put("why", why);
    return map;
  }

  /** One line for a person. */
  @Override
  public String toString() {
    if (milliseconds < 0) return what + " is not taken, software is: " + why;
    return String.format(
        Locale.ROOT, "%s is given up behind %.3f s, the session goes on in software: %s", what, milliseconds / 1000.0, why);
  }
}
