package com.zarvo.qvs.transcoder.test;

import static com.zarvo.qvs.transcoder.model.TranscoderSessionNative.*;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;

import com.zarvo.qvs.transcoder.model.TranscoderLogStatement;
import java.util.AbstractList;
import java.util.ArrayList;
import java.util.List;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;

class LogsTest {
  private static final String LINE = "TranscoderSession.videoScalerInitialize[{context}]: Initialize video scaler: ";

  private long session;

  @BeforeEach
  void open() {
    Library.start();
    session = createInstance();
    Library.logs(session);
  }

  @AfterEach
  void close() {
    destroyInstance(session);
  }

  /** Each gives one line whose text tells its number. */
  private void write(int from, int count) {
    for (int i = from; i < from + count; ++i) {
      videoScalerSetFlags(session, i + 1);
      videoScalerInitialize(session);
    }
  }

  /** Without the process's lines, among them the one that tells of the list. */
  private static List<TranscoderLogStatement> own(List<TranscoderLogStatement> lines) {
    return lines.stream().filter(line -> line.contextType != -1).toList();
  }

  @Test
  void thousandLinesWaitAndTheNewestIsDropped() {
    write(0, 1001);
    List<TranscoderLogStatement> lines = Library.logs(session);
    assertEquals(1000, lines.size());
    assertEquals(LINE + "default, flags:0x1", lines.get(0).statement);
    assertEquals(LINE + "default, flags:0x" + Integer.toHexString(1000), lines.get(999).statement);
    assertEquals(List.of(2, 8, 0), List.of(lines.get(0).level, lines.get(0).contextType, lines.get(0).contextIndex));
    write(0, 1);
    assertEquals(1, Library.logs(session).size(), "the count starts anew");
  }

  @Test
  void handleZeroLeavesASessionsLinesAlone() {
    write(0, 2);
    for (TranscoderLogStatement line : Library.logs(0)) {
      assertEquals(List.of(-1, 0), List.of(line.contextType, line.contextIndex));
    }
    assertEquals(2, Library.logs(session).size());
    List<TranscoderLogStatement> kept = new ArrayList<>(List.of(new TranscoderLogStatement()));
    assertEquals(0, getLogStatements(session, kept));
    assertEquals(1, kept.size(), "nothing waits, nothing is added");
    assertEquals(0, getLogStatements(session, null), "nothing waits, no list is needed");
  }

  @Test
  void listThatCannotBeUsedFailsAndLosesNothing() {
    write(0, 3);
    assertEquals(-1, getLogStatements(session, null));
    assertEquals(3, own(Library.logs(session)).size());
  }

  @Test
  void exceptionOfTheHostsOwnListArrives() {
    List<TranscoderLogStatement> taken = new ArrayList<>();
    List<TranscoderLogStatement> picky =
        new AbstractList<>() {
          @Override
          public boolean add(TranscoderLogStatement line) {
            if (taken.size() == 2) throw new IllegalStateException("full");
            return taken.add(line);
          }

          @Override
          public TranscoderLogStatement get(int index) {
            return taken.get(index);
          }

          @Override
          public int size() {
            return taken.size();
          }
        };
    write(0, 5);
    assertEquals("full", assertThrows(IllegalStateException.class, () -> getLogStatements(session, picky)).getMessage());
    assertEquals(2, taken.size());
    assertEquals(3, own(Library.logs(session)).size(), "what it refused waits on");
  }
}
