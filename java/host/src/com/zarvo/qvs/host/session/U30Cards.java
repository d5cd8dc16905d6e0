package com.zarvo.qvs.host.session;

import static com.zarvo.qvs.transcoder.model.TranscoderVideoU30MXBean.*;

import java.util.List;
import java.util.Locale;
import java.util.regex.Matcher;
import java.util.regex.Pattern;

/** What this machine has of accelerator cards, and how many jobs would still fit on them. */
final class U30Cards {
  private static final Pattern SECTION =
      Pattern.compile("\"infoXilinxU30\":\\{\"available\":true,\"availableFlags\":(\\d+),\"deviceCount\":(\\d+)");
  private static final List<String> STAGES = List.of("Dec", "Scal", "Enc");
  private static final List<String> FUNCTIONS = List.of("DECODER", "SCALER", "ENCODER");
  private static final String JOB =
      "{\"request\":{\"name\":\"calc%sLoad\",\"requestId\":1,\"parameters\":[{\"function\":\"%s\",\"format\":\"H264\","
          + "\"resolution\":{\"width\":1920,\"height\":1080,\"frame-rate\":{\"num\":60,\"den\":1}}}]}}";

  private U30Cards() {}

  /** In words, of the transcoder's own document; empty where there is none. In the process that has the library. */
  static String describe(String document) {
    Matcher found = SECTION.matcher(document);
    if (!found.find()) return "";
    String firmware = found.group(1).equals("0") ? ", whose firmware is not taken" : "";
    return String.format(Locale.ROOT, "%s cards%s, %s", found.group(2), firmware, room());
  }

  private static String room() {
    long session = createContext(0);
    if (session < 0) return "the resource manager is not there";
    boolean known = true;
    for (int i = 0; i < STAGES.size(); i++) {
      String job = String.format(Locale.ROOT, JOB, STAGES.get(i), FUNCTIONS.get(i));
      known &= execPluginFunc("xrmU30" + STAGES.get(i) + "Plugin", job, session) >= 0;
    }
    long count = known ? checkCuPoolAvailableNum(session) : -1;
    destroyContext(session);
    return count < 0 ? "how much is reserved is not told" : "room for " + count + " more jobs of 1920x1080 at 60";
  }
}
