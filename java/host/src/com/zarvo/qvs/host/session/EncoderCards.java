package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.model.DecoderBackend;
import com.zarvo.qvs.host.model.EncoderBackend;
import java.util.ArrayList;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;

/**
 * What this process has seen of its cards: how often each failed, and which of them it tries no more. For all threads.
 */
public final class EncoderCards {
  private static final EncoderCards PROCESS = new EncoderCards();

  private final Map<Enum<?>, Card> cards = new LinkedHashMap<>();

  private static final class Card {
    final String role;
    final String label;
    int failures;
    int abandonedCalls;
    boolean quarantined;
    String lastFailure;

    Card(String role, String label) {
      this.role = role;
      this.label = label;
    }
  }

  /** Those of the process, which all sessions share unless told otherwise. */
  public static EncoderCards ofProcess() {
    return PROCESS;
  }

  /** Counts a failure at work, or a call that hung; the `limit`-th ends the use of the card. */
  void failed(EncoderBackend backend, EncoderFault fault, String why, int limit) {
    if (backend.hardware) failed(backend, new Card("encoder", backend.label), fault, why, limit);
  }

  /** The same of a decoder. */
  void failed(DecoderBackend backend, EncoderFault fault, String why, int limit) {
    if (backend != DecoderBackend.SOFTWARE) failed(backend, new Card("decoder", backend.label), fault, why, limit);
  }

  private synchronized void failed(Enum<?> backend, Card fresh, EncoderFault fault, String why, int limit) {
    if (!fault.countsAgainstCard()) return;
    Card card = cards.computeIfAbsent(backend, any -> fresh);
    card.failures++;
    if (fault == EncoderFault.HANG) card.abandonedCalls++;
    card.lastFailure = why;
    card.quarantined |= card.failures >= limit;
  }

  /** Why an encoder or decoder is tried no more, null where it is. */
  public synchronized String quarantine(Enum<?> backend) {
    Card card = cards.get(backend);
    return card == null || !card.quarantined
        ? null
        : "it failed " + card.failures + " times in this process, the last time: " + card.lastFailure;
  }

  /** Calls that never came back and hold a thread each. */
  public synchronized int abandonedCalls() {
    return cards.values().stream().mapToInt(card -> card.abandonedCalls).sum();
  }

  /** For reports: each card that failed. */
  public synchronized List<Map<String, Object>> toMaps() {
    List<Map<String, Object>> maps = new ArrayList<>();
    cards.forEach(
        (backend, card) -> {
          Map<String, Object> map = new LinkedHashMap<>();
          map.put(card.role, card.label);
          map.put("failures", card.failures);
          map.put("abandonedCalls", card.abandonedCalls);
          map.put("quarantined", card.quarantined);
          map.put("lastFailure", card.lastFailure);
          maps.add(map);
        });
    return maps;
  }
}
