package com.zarvo.qvs.host.watch;

import com.zarvo.qvs.host.job.Json;
import java.nio.charset.StandardCharsets;

/** What a request is answered with. */
record Page(int status, String type, byte[] body) {
  static Page text(int status, String type, String text) {
    return new Page(status, type, text.getBytes(StandardCharsets.UTF_8));
  }

  static Page json(Object value) {
    return text(200, "application/json", Json.write(value));
  }
}
