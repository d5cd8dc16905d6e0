package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.NativeLibraries;
import com.zarvo.qvs.transcoder.model.TranscoderLogStatement;
import com.zarvo.qvs.transcoder.model.TranscoderNativeString;
import com.zarvo.qvs.transcoder.model.TranscoderSessionNative;
import java.util.ArrayList;
import java.util.List;
import java.util.regex.Matcher;
import java.util.regex.Pattern;

/**
 * The transcoder's document on its accelerators, as one virtual machine prints it for another: behind a mark, since libraries
 * that are looked at may print what they like. Or why there is none.
 */
record InventoryDocument(String text, String withoutGpu) {
  private static final String MARK = "\nqvs-inventory: ";
  private static final String GPU_MARK = "\nqvs-without-gpu: ";
  // How the transcoder's log says why there is no GPU.
  private static final Pattern WITHOUT_GPU = Pattern.compile("HardwareInspector\\.inspect\\[.*?\\]: (.*NVIDIA.*)");

  /** "cards": instead, in words, what there is of the accelerator cards that have a resource manager. */
  public static void main(String[] wanted) {
    int code = 0;
    String text;
    String withoutGpu = "";
    try {
      NativeLibraries.loadTranscoder();
      TranscoderNativeString holder = new TranscoderNativeString();
      TranscoderSessionNative.getHardwareInfoJSON(holder);
      text = wanted.length == 0 ? holder.value : U30Cards.describe(holder.value);
      withoutGpu = withoutGpuByLog();
    } catch (HostException e) {
      text = e.getMessage();
      code = 1;
    }
    System.out.print(GPU_MARK + withoutGpu);
    System.out.println(MARK + text);
    System.out.flush();
    Runtime.getRuntime().halt(code);
  }

  /** Null where the other machine came to no end. */
  static InventoryDocument parse(String said) {
    int at = said.lastIndexOf(MARK);
    if (at < 0) return null;
    int reason = said.lastIndexOf(GPU_MARK, at);
    return new InventoryDocument(
        said.substring(at + MARK.length()).stripTrailing(),
        reason < 0 ? "" : said.substring(reason + GPU_MARK.length(), at));
  }

  private static String withoutGpuByLog() {
    List<TranscoderLogStatement> lines = new ArrayList<>();
    TranscoderSessionNative.getLogStatements(0, lines);
    String reason = "";
    for (TranscoderLogStatement line : lines) {
      Matcher said = WITHOUT_GPU.matcher(line.statement);
      if (said.matches()) reason = said.group(1);
    }
    return reason;
  }
}
