package com.zarvo.qvs.host.job;

import java.util.Collection;
import java.util.Locale;
import java.util.Map;

/** Writes maps, lists, texts, numbers, truth values and null as JSON. */
public final class Json {
  private Json() {}

  /** Indented, for people too. */
  public static String write(Object value) {
    return write(value, "\n");
  }

  /** In one line. */
  public static String line(Object value) {
    return write(value, "");
  }

  private static String write(Object value, String lineBreak) {
    StringBuilder out = new StringBuilder();
    append(out, value, lineBreak);
    return out.append('\n').toString();
  }

  private static void append(StringBuilder out, Object value, String lineBreak) {
    if (value == null || value instanceof Boolean || value instanceof Integer || value instanceof Long) {
      out.append(value);
    } else if (value instanceof Number number) {
      double d = number.doubleValue();
      out.append(Double.isFinite(d) ? String.format(Locale.ROOT, "%.4f", d) : "null");
    } else if (value instanceof Map<?, ?> map) {
      String inner = lineBreak.isEmpty() ? "" : lineBreak + "  ";
      String separator = "{" + inner;
      for (Map.Entry<?, ?> entry : map.entrySet()) {
        out.append(separator);
        appendText(out, String.valueOf(entry.getKey()));
        out.append(": ");
        append(out, entry.getValue(), inner);
        separator = "," + inner;
      }
      out.append(map.isEmpty() ? "{}" : lineBreak + "}");
    } else if (value instanceof Collection<?> list) {
      String inner = lineBreak.isEmpty() ? "" : lineBreak + "  ";
      String separator = "[" + inner;
      for (Object element : list) {
        out.append(separator);
        append(out, element, inner);
        separator = "," + inner;
      }
      out.append(list.isEmpty() ? "[]" : lineBreak + "]");
    } else {
      appendText(out, value.toString());
    }
  }

  private static void appendText(StringBuilder out, String text) {
    out.append('"');
    for (int i = 0; i < text.length(); i++) {
      char c = text.charAt(i);
      if (c == '"' || c == '\\') out.append('\\').append(c);
      else if (c == '\n') out.append("\\n");
      else if (c < 0x20) out.append(String.format("\\u%04x", (int) c));
      else out.append(c);
    }
    out.append('"');
  }
}
