package com.zarvo.qvs.host.session;

import static com.zarvo.qvs.transcoder.model.TranscoderSessionNative.*;

import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.NativeLibraries;
import com.zarvo.qvs.transcoder.model.TranscoderNativeIntArray;
import com.zarvo.qvs.transcoder.model.TranscoderNativeString;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;

/** Finds the capture devices of the machine and of a folder. */
public final class CaptureDevices {
  private static final long ROOT_OF_FILE_DEVICES = 3;

  private CaptureDevices() {}

  /** The devices that there are with `root` as the folder of file devices; those found before are not among them. */
  public static List<CaptureDevice> find(Path root) throws HostException {
    NativeLibraries.loadTranscoder();
    captureManagerInit();
    int before = ids().length;
    if (captureManagerSetPath(ROOT_OF_FILE_DEVICES, root.toString()) != 0)
      throw new HostException(root + ": too long for the folder of capture devices");
    if (captureManagerInspectHardware() != 0) throw new HostException("capture devices cannot be looked for");
    List<CaptureDevice> found = new ArrayList<>();
    int[] ids = ids();
    for (int i = before; i < ids.length; i++) found.add(new CaptureDevice(ids[i]));
    return found;
  }

  private static int[] ids() {
    TranscoderNativeIntArray ids = new TranscoderNativeIntArray();
    return captureManagerGetDeviceIds(ids) == 0 && ids.value != null ? ids.value : new int[0];
  }

  /** What the process logged since it was asked last. */
  public static List<SessionLog.Line> log() {
    return new SessionLog("host/capture").fetch(0);
  }

  /** The library's document on all devices found so far. */
  public static String json() throws HostException {
    TranscoderNativeString json = new TranscoderNativeString();
    if (captureManagerGetHardwareInfoJSON(json) != 0) throw new HostException("capture devices cannot be listed");
    return json.value;
  }
}
