package com.zarvo.qvs.transcoder.test;

import static com.zarvo.qvs.transcoder.model.TranscoderSessionNative.*;
import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;

import com.zarvo.qvs.transcoder.model.TranscoderNativeStreamContext;
import org.junit.jupiter.api.Test;

class SessionListenerTest {
  @Test
  void moduleHearsOfSessionsInOrder() {
    TranscoderNativeStreamContext context = new TranscoderNativeStreamContext();
    context.streamName = "h\u00f6rbar";
    SessionListener.attach();
    long first = createInstance();
    assertEquals("", SessionListener.lastStream());
    long second = createInstance(context);
    assertEquals("h\u00f6rbar", SessionListener.lastStream());
    destroyInstance(first);
    destroyInstance(0);
    destroyInstance(second);
    assertArrayEquals(new long[] {first, second, -first, -second}, SessionListener.events());
    SessionListener.detach();
    destroyInstance(createInstance());
    assertEquals(0, SessionListener.events().length);
  }
}
