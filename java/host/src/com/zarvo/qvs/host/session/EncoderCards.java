package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.model.EncoderBackend;
import java.util.ArrayList;
import java.util.EnumMap;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;

/**
 * What this process has seen of its cards: how often each failed, and which of them it tries no more. For all threads.
 */
public final class EncoderCards {
  private static final EncoderCards PROCESS = new EncoderCards();

  private final Map<EncoderBackend, Card> cards = new EnumMap<>(EncoderBackend.class);

  private static final class Card {
    int failures;
    int abandonedCalls;
    boolean quarantined;
    String lastFailure;
  }

  /** Those of the process, which all sessions share unless told otherwise. */
  public static EncoderCards ofProcess() {
    return PROCESS;
  }

  /** Counts a failure at work, or a call that hung; the `limit`-th ends the use of the card. */
  synchronized void failed(EncoderBackend backend, EncoderFault fault, String why, int limit) {
    if (!backend.hardware || !fault.countsAgainstCard()) return;
    Card card = cards.computeIfAbsent(backend, any -> new Card());
    card.failures++;
    if (fault == EncoderFault.HANG) card.abandonedCalls++;
    card.lastFailure = why;
    card.quarantined |= card.failures >= limit;
  }

  /** Why a card is tried no more, null where it is. */
  public synchronized String quarantine(EncoderBackend backend) {
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
          map.put("encoder", backend.label);
          map.put("failures", card.failures);
          map.put("abandonedCalls", card.abandonedCalls);
          map.put("quarantined", card.quarantined);
          map.put("lastFailure", card.lastFailure);
          maps.add(map);
        });
    return maps;
  }
}
