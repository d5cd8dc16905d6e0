package com.zarvo.qvs.host.session;

import java.util.function.Consumer;

/**
 * What a session is to capture.
 *
 * @param device where pictures and sound come from; it runs
 * @param slate the device whose pictures are shown while it has none; it stands, and runs as long as it is needed
 * @param captions true to carry captions into renditions that can hold them
 * @param listener is told what befalls the capture, on the session's thread
 */
public record CaptureSettings(
    CaptureDevice device, CaptureDevice slate, boolean captions, Consumer<CaptureEvent> listener) {}
