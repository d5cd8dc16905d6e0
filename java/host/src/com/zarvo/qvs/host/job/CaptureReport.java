package com.zarvo.qvs.host.job;

import com.zarvo.qvs.host.session.CaptureEvent;
import com.zarvo.qvs.host.session.CaptureFigures;
import java.util.ArrayList;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;

/** What became of a capture: filled while it goes on. */
public final class CaptureReport {
  private static final int MAX_EVENTS = 10_000;

  private final String device;
  private final List<CaptureEvent> events = new ArrayList<>();
  private long eventsLeftOut;
  CaptureFigures figures;

  CaptureReport(String device) {
    this.device = device;
  }

  // A capture may go on for months.
  void add(CaptureEvent event) {
    if (events.size() < MAX_EVENTS) events.add(event);
    else eventsLeftOut++;
  }

  /** What befell it, in order. */
  public List<CaptureEvent> events() {
    return events;
  }

  /** Null before the first picture. */
  public CaptureFigures figures() {
    return figures;
  }

  Map<String, Object> toMap() {
    Map<String, Object> map = new LinkedHashMap<>();
    map.put("device", device);
    if (figures != null) {
      map.put("droppedPictures", figures.droppedPictures());
      map.put("deviceDroppedPictures", figures.deviceDroppedPictures());
      map.put("withheldPictures", figures.withheldPictures());
      map.put("slatePictures", figures.slatePictures());
      map.put("worstClockOffsetSeconds", figures.worstClockOffsetMs() / 1000.0);
      map.put("silentSeconds", figures.silentSeconds());
    }
    map.put("events", events.stream().map(CaptureEvent::toMap).toList());
    map.put("eventsLeftOut", eventsLeftOut);
    return map;
  }
}
