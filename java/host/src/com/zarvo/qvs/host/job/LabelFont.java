package com.zarvo.qvs.host.job;

import java.awt.Graphics2D;
import java.util.Map;

/** The few letters of a contact sheet's labels as dots: servers often have no font that could be drawn with. */
final class LabelFont {
  private static final int COLUMNS = 5;
  private static final int DOT = 2;
  private static final int ADVANCE = (COLUMNS + 1) * DOT;

  /** Rows from top to bottom, a digit a dot. */
  private static final Map<Character, String> GLYPHS =
      Map.ofEntries(
          Map.entry('0', "01110 10001 10011 10101 11001 10001 01110"),
          Map.entry('1', "00100 01100 00100 00100 00100 00100 01110"),
          Map.entry('2', "01110 10001 00001 00110 01000 10000 11111"),
          Map.entry('3', "11111 00010 00100 00010 00001 10001 01110"),
          Map.entry('4', "00010 00110 01010 10010 11111 00010 00010"),
          Map.entry('5', "11111 10000 11110 00001 00001 10001 01110"),
          Map.entry('6', "00110 01000 10000 11110 10001 10001 01110"),
          Map.entry('7', "11111 00001 00010 00100 01000 01000 01000"),
          Map.entry('8', "01110 10001 10001 01110 10001 10001 01110"),
          Map.entry('9', "01110 10001 10001 01111 00001 00010 01100"),
          Map.entry('.', "00000 00000 00000 00000 00000 01100 01100"),
          Map.entry('-', "00000 00000 00000 11111 00000 00000 00000"),
          Map.entry('c', "00000 00000 01110 10000 10000 10001 01110"),
          Map.entry('e', "00000 00000 01110 10001 11111 10000 01110"),
          Map.entry('h', "10000 10000 10110 11001 10001 10001 10001"),
          Map.entry('k', "10000 10000 10010 10100 11000 10100 10010"),
          Map.entry('p', "00000 00000 11110 10001 11110 10000 10000"),
          Map.entry('s', "00000 00000 01110 10000 01110 00001 11110"),
          Map.entry('v', "00000 00000 10001 10001 10001 01010 00100"),
          Map.entry('x', "00000 00000 10001 01010 00100 01010 10001"));

  private LabelFont() {}

  /** Draws a text in the current colour, its upper left corner at (x, y); unknown letters stay empty. */
  static void draw(Graphics2D graphics, String text, int x, int y) {
    for (int i = 0; i < text.length(); i++) {
      String[] rows = GLYPHS.getOrDefault(text.charAt(i), "").split(" ");
      for (int row = 0; row < rows.length; row++)
        for (int column = 0; column < rows[row].length(); column++)
          if (rows[row].charAt(column) == '1')
            graphics.fillRect(x + i * ADVANCE + column * DOT, y + row * DOT, DOT, DOT);
    }
  }
}
