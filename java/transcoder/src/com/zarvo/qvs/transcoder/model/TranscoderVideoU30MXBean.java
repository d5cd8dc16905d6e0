package com.zarvo.qvs.transcoder.model;

/**
 * Reserves compute units of accelerator cards. One job: {@link #createContext}, {@link #execPluginFunc} per stage,
 * {@link #checkCuPoolAvailableNum}, {@link #cuPoolReserve}, and at the end {@link #cuPoolRelinquish} and
 * {@link #destroyContext}. Without the cards' resource manager every call but the first fails.
 */
public final class TranscoderVideoU30MXBean {
  private TranscoderVideoU30MXBean() {}

  /** Opens a resource session; its id, -1 where no resource manager can be reached. */
  public static native long createContext(long contextId);

  /** Ends a resource session; -1 for an unknown one. */
  public static native long destroyContext(long sessionId);

  /** Reserves what the session's jobs asked for; the pool's id, 0 when there is no room, -1 on failure. */
  public static native long cuPoolReserve(long sessionId);

  /** Gives a pool back; 1 when it was given back, else 0. */
  public static native long cuPoolRelinquish(long poolId, long sessionId);

  /** How many such jobs fit; negative on failure. */
  public static native long checkCuPoolAvailableNum(long sessionId);

  /** Asks a plug-in of the resource manager what a job would load; the last number of its answer, -1 on failure. */
  public static native long execPluginFunc(String plugin_name, String java_input, long sessionId);

  /** Prints the cards' load; -1 without cards, -2 without an inventory, -3 where the cards' library can't report. */
  public static native long u30XboUsage(long poolID);
}
