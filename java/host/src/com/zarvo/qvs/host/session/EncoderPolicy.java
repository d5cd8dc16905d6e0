package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.model.EncoderList;
import java.util.ArrayList;
import java.util.List;
import java.util.function.Consumer;

/**
 * Which encoders a session's renditions may have, and what becomes of one that fails. At the start the first of the list
 * that encodes is taken. While it runs, one that fails or hangs is replaced by the next of the list, without a picture
 * lost or twice; where none is left the session fails. The library never replaces by itself: this does.
 */
public final class EncoderPolicy {
  /** The library's own software alone, as ever. */
  public static final EncoderPolicy SOFTWARE = of(EncoderList.SOFTWARE).build();

  private static final long USUAL_DEADLINE_MS = 2000;
  private static final int USUAL_FAILURES = 3;

  private final EncoderList encoders;
  private long deadlineMs = USUAL_DEADLINE_MS;
  private int maxFailures = USUAL_FAILURES;
  private EncoderCards cards = EncoderCards.ofProcess();
  private final List<Consumer<EncoderEvent>> listeners = new ArrayList<>();

  private EncoderPolicy(EncoderList encoders) {
    this.encoders = encoders;
  }

  /** `encoders` is for renditions that name none of their own. */
  public static Builder of(EncoderList encoders) {
    return new Builder(new EncoderPolicy(encoders));
  }

  /** The same, heard by another listener too. */
  public EncoderPolicy heardBy(Consumer<EncoderEvent> listener) {
    Builder copy = of(encoders).deadlineMs(deadlineMs).maxFailures(maxFailures).cards(cards);
    listeners.forEach(copy::listener);
    return copy.listener(listener).build();
  }

  public EncoderList encoders() {
    return encoders;
  }

  /** How long a call into a card may take. */
  public long deadlineMs() {
    return deadlineMs;
  }

  /** So many failures end the use of a card in this process. */
  public int maxFailures() {
    return maxFailures;
  }

  public EncoderCards cards() {
    return cards;
  }

  void tell(EncoderEvent event) {
    for (Consumer<EncoderEvent> listener : listeners) listener.accept(event);
  }

  /** Sets by name what is to be other than usual. Used once. */
  public static final class Builder {
    private final EncoderPolicy made;

    private Builder(EncoderPolicy made) {
      this.made = made;
    }

    public Builder deadlineMs(long milliseconds) {
      made.deadlineMs = milliseconds;
      return this;
    }

    public Builder maxFailures(int count) {
      made.maxFailures = count;
      return this;
    }

    /** Whose failures count together, the process's by default. */
    public Builder cards(EncoderCards cards) {
      made.cards = cards;
      return this;
    }

    /** Is told of refusals and replacements, on the session's thread, while the session waits. */
    public Builder listener(Consumer<EncoderEvent> listener) {
      made.listeners.add(listener);
      return this;
    }

    public EncoderPolicy build() {
      return made;
    }
  }
}
