package com.zarvo.qvs.transcoder.test;

import static com.zarvo.qvs.transcoder.model.TranscoderSessionNative.thumbnailerGetVideoFrame;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNull;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.zarvo.qvs.transcoder.thumbnailer.ThumbnailerRequest;
import com.zarvo.qvs.transcoder.thumbnailer.ThumbnailerRequestPacket;
import com.zarvo.qvs.transcoder.thumbnailer.ThumbnailerResponse;
import java.nio.ByteBuffer;
import java.util.Base64;
import org.junit.jupiter.api.AfterAll;
import org.junit.jupiter.api.BeforeAll;
import org.junit.jupiter.api.Test;

/** Still pictures over the boundary: where the bytes lie, and packets that hold none. */
class ThumbnailTest {
  // A red key picture of 32x16 pixels in H.264.
  private static final byte[] RED =
      Base64.getDecoder()
          .decode("AAAAAWdCwArZC7ARAAADAAEAAAMAMg8SJkgAAAABaMuDyyAAAAFliIQK8RigACQDHAAEOuOAAJfEng==");
  private static final int CROP_RIGHT_HALF = 16;

  private static SessionDriver driver;

  @BeforeAll
  static void open() throws Exception {
    driver = new SessionDriver(64, 64);
  }

  @AfterAll
  static void close() {
    driver.close();
  }

  private static ThumbnailerRequestPacket packet(ByteBuffer data) {
    ThumbnailerRequestPacket packet = new ThumbnailerRequestPacket();
    packet.packetData = data;
    packet.frameType = 1;
    return packet;
  }

  private static ByteBuffer direct(byte[] bytes) {
    return ByteBuffer.allocateDirect(bytes.length).put(0, bytes);
  }

  private static ThumbnailerRequest request(ThumbnailerRequestPacket... packets) {
    ThumbnailerRequest request = new ThumbnailerRequest();
    request.codec = 7;
    request.fitMode = 2;
    request.width = 20;
    request.format = 77;
    request.cpuNum = request.smpMode = request.output8Bit = request.mvPrecision = request.dpbSize = -1;
    request.ec = request.loopFilter = request.accMode = -1;
    request.packets = packets;
    return request;
  }

  private static ThumbnailerResponse make(ThumbnailerRequest request) {
    Library.logs(driver.handle);
    ThumbnailerResponse response = new ThumbnailerResponse();
    assertEquals(0, thumbnailerGetVideoFrame(driver.handle, request, response));
    return response;
  }

  private static void assertRed(ThumbnailerResponse response, int width, int height) {
    assertEquals(77, response.format);
    assertEquals(width, response.width);
    assertEquals(height, response.height);
    assertEquals(width * height * 4, response.pictureData.capacity());
    assertTrue(response.pictureData.isDirect());
    assertTrue((response.pictureData.get(2) & 0xff) > 240 && (response.pictureData.get(0) & 0xff) < 10, "red");
    assertEquals(-1, response.pictureData.get(3));
  }

  @Test
  void picturesComeOutOfDirectBuffersAndTheirParts() {
    assertRed(make(request(packet(direct(RED)))), 20, 10);
    ByteBuffer arena = ByteBuffer.allocateDirect(RED.length + 100).put(50, RED);
    assertRed(make(request(packet(arena.slice(50, RED.length)))), 20, 10);
    ThumbnailerRequest half = request(packet(direct(RED)));
    half.crop = new int[] {0, CROP_RIGHT_HALF};
    assertRed(make(half), 20, 20);
  }

  @Test
  void packetsWithoutBytesArePassedOver() {
    ThumbnailerRequestPacket[] many = new ThumbnailerRequestPacket[10_000];
    for (int i = 0; i < many.length; i += 2) many[i] = packet(i % 4 == 0 ? null : ByteBuffer.wrap(RED));
    many[7] = packet(ByteBuffer.allocateDirect(0));
    assertNull(make(request(many)).pictureData);
    var lines = Library.logs(driver.handle);
    assertEquals("TranscoderSessionNative::thumbnailerGetVideoFrame: Response is empty", lines.get(0).statement);
    many[9_999] = packet(direct(RED));
    assertRed(make(request(many)), 20, 10);
  }
}
