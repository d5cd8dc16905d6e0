package com.zarvo.qvs.host.cli;

import java.io.PrintStream;
import java.util.ArrayList;
import java.util.List;

/** Lines of cells, printed with each column as wide as its widest cell. */
final class TextTable {
  private final List<String[]> lines = new ArrayList<>();

  TextTable(String... titles) {
    lines.add(titles);
  }

  /** Text without what would break a line or reach the terminal as a command. */
  static String plain(String text) {
    return text.replaceAll("\\p{Cntrl}", " ");
  }

  /** A line with as many cells as there are titles. */
  void add(String... cells) {
    for (int i = 0; i < cells.length; i++) cells[i] = plain(cells[i]);
    lines.add(cells);
  }

  void print(PrintStream out) {
    int[] widths = new int[lines.get(0).length];
    for (String[] line : lines)
      for (int i = 0; i < widths.length; i++) widths[i] = Math.max(widths[i], line[i].length());
    for (String[] line : lines) {
      StringBuilder text = new StringBuilder();
      for (int i = 0; i < widths.length; i++)
        text.append(line[i]).append(" ".repeat(widths[i] - line[i].length() + 2));
      out.println(text.toString().stripTrailing());
    }
  }
}
