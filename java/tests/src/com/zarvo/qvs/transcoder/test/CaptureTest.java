package com.zarvo.qvs.transcoder.test;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.zarvo.qvs.transcoder.capture.TranscoderCaptureDeviceAudioLevelDataAllChannel;
import com.zarvo.qvs.transcoder.capture.TranscoderCaptureDeviceAudioLevelDataList;
import com.zarvo.qvs.transcoder.capture.TranscoderCaptureDeviceInfo;
import com.zarvo.qvs.transcoder.capture.TranscoderCaptureDeviceSessionInfo;
import com.zarvo.qvs.transcoder.capture.TranscoderCaptureDeviceStateInfo;
import com.zarvo.qvs.transcoder.capture.TranscoderCaptureDeviceVideoCaptureInput;
import com.zarvo.qvs.transcoder.capture.TranscoderCaptureDeviceVideoCaptureTarget;
import com.zarvo.qvs.transcoder.model.TranscoderNativeIntArray;
import com.zarvo.qvs.transcoder.model.TranscoderNativeLong;
import com.zarvo.qvs.transcoder.model.TranscoderNativeParameterValue;
import com.zarvo.qvs.transcoder.model.TranscoderNativeString;
import com.zarvo.qvs.transcoder.model.TranscoderNativeVideoFrame;
import com.zarvo.qvs.transcoder.model.TranscoderSessionNative;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

/** The manager is the process's and looks for devices once: one test has it all. */
class CaptureTest {
  private static final long NO_DEVICE = -2;
  private static final long NO_PICTURE = -3;

  private static long setState(long device, long state) {
    TranscoderCaptureDeviceStateInfo info = new TranscoderCaptureDeviceStateInfo();
    info.state = state;
    assertEquals(0, TranscoderSessionNative.captureDeviceSetActiveState(device, info));
    return info.status;
  }

  private static void writeDevice(Path root) throws IOException {
    Path device = Files.createDirectories(root.resolve("capture/capture0"));
    byte[] picture = new byte[32 * 16 * 3 / 2];
    Arrays.fill(picture, 0, 512, (byte) 82);
    Arrays.fill(picture, 512, 640, (byte) 240); // V: red
    Arrays.fill(picture, 640, 768, (byte) 90);
    Files.write(device.resolve("red.yuv"), picture);
    byte[] sound = new byte[48000 * 4];
    Arrays.fill(sound, (byte) 1);
    Files.write(device.resolve("sound.pcm"), sound);
    Files.writeString(device.resolve("info.properties"),
        "video.file.path:red.yuv\nvideo.frameWidth:32\nvideo.frameHeight:16\naudio.file.path:sound.pcm\n");
  }

  @Test
  void aDeviceIsFoundRunIsSeenAndKeepsWhatItIsTold(@TempDir Path root) throws IOException, InterruptedException {
    Library.start();
    assertEquals(-1, TranscoderSessionNative.captureManagerInspectHardware(), "before init");
    assertEquals(-1, TranscoderSessionNative.captureDeviceSetAudioVolume(0, 50), "before init");
    writeDevice(root);
    assertEquals(0, TranscoderSessionNative.captureManagerInit());
    assertEquals(-1, TranscoderSessionNative.captureManagerSetPath(4, "/"));
    assertEquals(-1, TranscoderSessionNative.captureManagerSetPath(3, "x".repeat(512)));
    assertEquals(-1, TranscoderSessionNative.captureManagerSetPath(3, null));
    assertEquals(0, TranscoderSessionNative.captureManagerSetPath(3, root.toString()));
    assertEquals(0, TranscoderSessionNative.captureManagerInspectHardware());
    TranscoderNativeIntArray ids = new TranscoderNativeIntArray();
    assertEquals(0, TranscoderSessionNative.captureManagerGetDeviceIds(ids));
    assertArrayEquals(new int[] {0}, ids.value);
    TranscoderNativeString json = new TranscoderNativeString();
    assertEquals(0, TranscoderSessionNative.captureManagerGetHardwareInfoJSON(json));
    assertTrue(json.value.startsWith("{\"devices\":[{\"id\":0,") && json.value.contains("\"16p30.00\""), json.value);
    for (long id : new long[] {1, -1, 1L << 32, Long.MIN_VALUE}) {
      assertEquals(NO_DEVICE, TranscoderSessionNative.captureDeviceGetInfo(id, new TranscoderCaptureDeviceInfo()));
    }
    run();
    keepRecords();
    assertEquals(0, TranscoderSessionNative.captureManagerShutdown());
    assertEquals(3, setState(0, 2), "stands already");
  }

  private static void run() throws InterruptedException {
    TranscoderCaptureDeviceInfo info = new TranscoderCaptureDeviceInfo();
    assertEquals(0, TranscoderSessionNative.captureDeviceGetInfo(0, info));
    assertEquals("file::capture0", info.displayName);
    assertEquals(32, info.renditions.get(0).videoFrameWidth);
    TranscoderNativeVideoFrame picture = new TranscoderNativeVideoFrame();
    assertEquals(NO_PICTURE, TranscoderSessionNative.captureDeviceGetVideoFrame(0, picture));
    assertEquals(0, setState(0, 1));
    assertEquals(2, setState(0, 1), "runs already");
    TranscoderCaptureDeviceSessionInfo session = new TranscoderCaptureDeviceSessionInfo();
    for (int i = 0; i < 500 && session.audioFrameCountTotal < 3; ++i) {
      Thread.sleep(10);
      assertEquals(0, TranscoderSessionNative.captureDeviceGetSessionInfo(0, session));
    }
    assertEquals(30, session.videoFrameRate);
    assertTrue(session.videoFrameCountTotal >= 3 && session.audioFrameCountTotal >= 3);
    assertEquals(0, TranscoderSessionNative.captureDeviceGetVideoFrame(0, picture));
    assertEquals(32 * 16 * 4, picture.bytes.length);
    int blue = picture.bytes[0] & 0xFF, red = picture.bytes[2] & 0xFF;
    assertTrue(red > 200 && blue < 60, "red " + red + " blue " + blue);
    List<TranscoderCaptureDeviceAudioLevelDataAllChannel> levels = new ArrayList<>();
    assertEquals(0, TranscoderSessionNative.captureDeviceGetAudioAllLevelDataLast(0, levels));
    assertEquals(257, levels.get(1).peak);
  }

  private static void keepRecords() {
    TranscoderCaptureDeviceVideoCaptureTarget target = new TranscoderCaptureDeviceVideoCaptureTarget();
    target.width = 640;
    target.crop = new long[] {2, 4, 100, 80, 5};
    target.frameRotation = 0.5;
    assertEquals(0, TranscoderSessionNative.captureDeviceSetVideoCaptureTarget(0, target));
    TranscoderCaptureDeviceVideoCaptureTarget kept = new TranscoderCaptureDeviceVideoCaptureTarget();
    assertEquals(0, TranscoderSessionNative.captureDeviceGetVideoCaptureTarget(0, kept));
    assertEquals(640, kept.width);
    assertEquals(0.5, kept.frameRotation);
    assertArrayEquals(new long[] {2, 4, 100, 80}, kept.crop);

    // A host may claim more inputs than it sends.
    TranscoderCaptureDeviceVideoCaptureInput input = new TranscoderCaptureDeviceVideoCaptureInput();
    input.input = new int[] {2, 1};
    input.inputCount = 21;
    assertEquals(0, TranscoderSessionNative.captureDeviceSetVideoCaptureInput(0, input));
    TranscoderCaptureDeviceVideoCaptureInput back = new TranscoderCaptureDeviceVideoCaptureInput();
    assertEquals(0, TranscoderSessionNative.captureDeviceGetVideoCaptureInput(0, back));
    assertArrayEquals(new int[] {2, 1}, back.input);

    TranscoderCaptureDeviceAudioLevelDataList list = new TranscoderCaptureDeviceAudioLevelDataList();
    assertEquals(0, TranscoderSessionNative.captureDeviceGetAudioLevelData(0, list));
    assertEquals(0, list.peak.length);
    assertEquals(0, TranscoderSessionNative.captureDeviceStartSessionParameterValues(0, new TranscoderNativeLong()));
    TranscoderNativeParameterValue[] keys = {new TranscoderNativeParameterValue(), null};
    assertEquals(0, TranscoderSessionNative.captureDeviceSetParameterValues(0, 0, keys));
    assertEquals(0, TranscoderSessionNative.captureDeviceGetParameterValues(0, 0, keys));
    assertEquals(-1, TranscoderSessionNative.captureDeviceSetOverlayInfo(0, null));
  }
}
