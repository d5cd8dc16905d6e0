package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.LiveQuality;
import com.zarvo.qvs.host.model.RenditionSpec;
import java.lang.management.ManagementFactory;
import java.lang.management.ThreadMXBean;
import java.util.ArrayList;
import java.util.List;
import java.util.concurrent.LinkedBlockingQueue;
import java.util.concurrent.ThreadPoolExecutor;
import java.util.concurrent.TimeUnit;

/**
 * Measures now and then what a session's encoders make against what went into them. Inter pictures can only be decoded
 * from their key picture on, so a run decodes a rendition from a key picture up to the last picture that it measures,
 * on a thread of its own; the renditions take turns, as far as the CPU time allowed reaches.
 */
final class QualityWatch implements QualityRuns, AutoCloseable {
  private static final ThreadMXBean THREADS = ManagementFactory.getThreadMXBean();
  // Packets that wait for the thread; where these are more, no other run begins.
  private static final int MOST_WAITING = 64;
  private static final long PATIENCE_SECONDS = 5;

  private final LiveQuality settings;
  private final EncoderInputTap tap;
  private final List<RungQuality> rungs = new ArrayList<>();
  private final ThreadPoolExecutor worker;

  QualityWatch(NativeSession owner, SessionSettings session) throws HostException {
    settings = session.liveQuality();
    tap = new EncoderInputTap(owner.handle());
    QualityBudget.shared().open();
    worker =
        new ThreadPoolExecutor(
            1, 1, 0, TimeUnit.SECONDS, new LinkedBlockingQueue<>(),
            task -> {
              Thread thread = new Thread(task, "quality");
              thread.setDaemon(true);
              return thread;
            });
    for (int i = 0; i < session.renditions().size(); i++) {
      RenditionSpec spec = session.renditions().get(i);
      double rate = spec.frameRate() > 0 ? spec.frameRate() : session.source().frameRateOrDefault();
      double groupMs = session.keyFrameSeconds() * 1000;
      rungs.add(new RungQuality(this, spec, owner.counters().rungs().get(i), settings.perSecond(), groupMs, 1000 / rate));
    }
  }

  /** Of a rendition. */
  RungQuality rung(int index) {
    return rungs.get(index);
  }

  @Override
  public EncoderInputTap tap() {
    return tap;
  }

  @Override
  public boolean begin(long runs, double pixels) {
    if (worker.isShutdown() || worker.getQueue().size() > MOST_WAITING) return false;
    for (RungQuality rung : rungs) if (rung.canRun() && rung.runs() < runs) return false;
    return QualityBudget.shared().begin(settings.cpuPercent(), pixels);
  }

  @Override
  public void submit(Runnable step) {
    worker.execute(
        () -> {
          long before = THREADS.getCurrentThreadCpuTime();
          step.run();
          QualityBudget.shared().spent(THREADS.getCurrentThreadCpuTime() - before);
        });
  }

  /** No more pictures come: waits for what is being measured. */
  void finish() {
    if (worker.isShutdown()) return;
    for (RungQuality rung : rungs) rung.finish();
    worker.shutdown();
    QualityBudget.shared().close();
    boolean over = false;
    try {
      over = worker.awaitTermination(PATIENCE_SECONDS, TimeUnit.SECONDS);
    } catch (InterruptedException e) {
      Thread.currentThread().interrupt();
    }
    for (RungQuality rung : rungs) rung.over(over);
  }

  @Override
  public void close() {
    finish();
    tap.close();
  }
}
