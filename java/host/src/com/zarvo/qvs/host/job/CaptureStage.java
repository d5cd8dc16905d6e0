package com.zarvo.qvs.host.job;

import com.zarvo.qvs.host.bitstream.SpliceReader;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.Rational;
import com.zarvo.qvs.host.session.CaptureDevice;
import com.zarvo.qvs.host.session.CaptureDevices;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.stream.Collectors;

/** The device of a run, found by its name or as a capture directory, and the slates that can stand in for it. */
public final class CaptureStage implements AutoCloseable {
  private static final long FIRST_PICTURE_MS = 3000;
  private static final long LOOK_MS = 10;
  private static final int CAPTION_DID = 0x61;
  private static final int CAPTION_SID = 0x01;

  private final CaptureDirectory directory;
  private final CaptureDevice device;
  private final CaptureDevice slate;
  private final List<CaptureDevice> blacks;
  private boolean started;

  /**
   * Finds them.
   *
   * @param device a name, or a capture directory
   * @param devices the folder of file devices
   * @param slate a capture directory; null for black
   */
  public static CaptureStage open(String device, Path devices, Path slate) throws HostException, IOException {
    CaptureDirectory directory = new CaptureDirectory();
    boolean ready = false;
    try {
      CaptureStage stage = new CaptureStage(directory, device, devices, slate);
      ready = true;
      return stage;
    } finally {
      if (!ready) directory.close();
    }
  }

  private CaptureStage(CaptureDirectory directory, String wanted, Path devices, Path slate)
      throws HostException, IOException {
    this.directory = directory;
    Path own = Path.of(wanted);
    boolean isDirectory = CaptureDirectory.holdsDevice(own);
    if (slate != null && !CaptureDirectory.holdsDevice(slate))
      throw new HostException(slate + ": is no capture directory, " + CaptureDirectory.PROPERTIES + " is missing");
    if (isDirectory) directory.link(own);
    else for (Path one : CaptureDirectory.in(devices)) directory.link(one);
    String name = isDirectory ? directory.lastName() : wanted;
    String slateName = slate == null ? null : directory.link(slate);
    List<String> blackNames = new ArrayList<>();
    for (Rational rate : CaptureDirectory.BLACK_RATES) blackNames.add(directory.addBlack(rate));
    List<CaptureDevice> found = CaptureDevices.find(directory.root());
    this.slate = slateName == null ? null : named(slateName, found);
    if (slateName != null && this.slate == null) throw new HostException(slate + ": nothing in it can be played");
    this.blacks = found.stream().filter(one -> blackNames.contains(one.name())).toList();
    if (blacks.size() < blackNames.size()) throw new HostException("no black pictures could be made");
    List<CaptureDevice> offered =
        found.stream().filter(one -> !blacks.contains(one) && one != this.slate).toList();
    this.device = named(name, offered);
    if (this.device != null) return;
    if (isDirectory) throw new HostException(wanted + ": nothing in it can be played");
    String there = offered.stream().map(CaptureDevice::name).collect(Collectors.joining(", "));
    boolean folder = Files.isDirectory(own);
    throw new HostException(
        folder
            ? wanted + ": is no capture directory, " + CaptureDirectory.PROPERTIES + " is missing"
            : "no capture device '" + wanted + "'; there " + (there.isEmpty() ? "is none" : "are: " + there));
  }

  private static CaptureDevice named(String name, List<CaptureDevice> devices) {
    return devices.stream().filter(one -> one.name().equals(name)).findFirst().orElse(null);
  }

  public CaptureDevice device() {
    return device;
  }

  /** Starts the device in a mode, null for the one that it finds, and waits a little for its first picture. */
  public void start(String mode, boolean deinterlaced) throws HostException {
    device.expect(mode);
    device.deinterlace(deinterlaced);
    device.wantAncillaryData(CAPTION_DID, CAPTION_SID);
    device.wantAncillaryData(SpliceReader.DID, SpliceReader.SID);
    started = !device.start();
    for (long waited = 0; device.figures().videoFrameCountTotal == 0 && waited < FIRST_PICTURE_MS; waited += LOOK_MS)
      pause(LOOK_MS);
  }

  static void pause(long ms) {
    try {
      Thread.sleep(ms);
    } catch (InterruptedException e) {
      Thread.currentThread().interrupt();
    }
  }

  /** What stands in for pictures of that rate. */
  CaptureDevice slateFor(double frameRate) {
    if (slate != null) return slate;
    CaptureDevice nearest = null;
    for (CaptureDevice black : blacks)
      if (nearest == null || offRate(black, frameRate) < offRate(nearest, frameRate)) nearest = black;
    return nearest;
  }

  private static double offRate(CaptureDevice black, double frameRate) {
    return Math.abs(black.pictures().frameRateOrDefault() - frameRate);
  }

  @Override
  public void close() {
    if (started) device.stop();
    if (slate != null) slate.stop();
    blacks.forEach(CaptureDevice::stop);
    directory.close();
  }
}
