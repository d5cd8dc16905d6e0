package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.NativeLibraries;
import com.zarvo.qvs.transcoder.model.TranscoderNativeString;
import com.zarvo.qvs.transcoder.model.TranscoderSessionNative;

/**
 * The transcoder's document on its accelerators, as one virtual machine prints it for another: behind a mark, since libraries
 * that are looked at may print what they like. Or why there is none.
 */
record InventoryDocument(String text) {
  private static final String MARK = "\nqvs-inventory: ";

  /** "cards": instead, in words, what there is of the accelerator cards that have a resource manager. */
  public static void main(String[] wanted) {
    int code = 0;
    String text;
    try {
      NativeLibraries.loadTranscoder();
      TranscoderNativeString holder = new TranscoderNativeString();
      TranscoderSessionNative.getHardwareInfoJSON(holder);
      text = wanted.length == 0 ? holder.value : U30Cards.describe(holder.value);
    } catch (HostException e) {
      text = e.getMessage();
      code = 1;
    }
    System.out.println(MARK + text);
    System.out.flush();
    Runtime.getRuntime().halt(code);
  }

  /** Null where the other machine came to no end. */
  static InventoryDocument parse(String said) {
    int at = said.lastIndexOf(MARK);
    return at < 0 ? null : new InventoryDocument(said.substring(at + MARK.length()).stripTrailing());
  }
}
