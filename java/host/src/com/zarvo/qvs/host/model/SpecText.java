package com.zarvo.qvs.host.model;

import java.util.LinkedHashMap;
import java.util.Map;
import java.util.Set;

/** Takes apart option values of the form "head,key=value,key=value". */
final class SpecText {
  final String head;
  private final Map<String, String> values = new LinkedHashMap<>();

  SpecText(String text, Set<String> known) {
    String[] parts = text.split(",", -1);
    this.head = parts[0];
    for (int i = 1; i < parts.length; i++) {
      int equals = parts[i].indexOf('=');
      String key = equals < 0 ? parts[i] : parts[i].substring(0, equals);
      if (equals < 0) throw new IllegalArgumentException("'" + parts[i] + "' in '" + text + "' is not key=value");
      if (!known.contains(key))
        throw new IllegalArgumentException("'" + key + "' in '" + text + "' is unknown, take one of " + known);
      values.put(key, parts[i].substring(equals + 1));
    }
  }

  String get(String key, String otherwise) {
    return values.getOrDefault(key, otherwise);
  }

  int getInt(String key, int otherwise, int min, int max) {
    String text = values.get(key);
    return text == null ? otherwise : parseInt(key, text, min, max);
  }

  static int parseInt(String what, String text, int min, int max) {
    int number;
    try {
      number = Integer.parseInt(text);
    } catch (NumberFormatException e) {
      throw new IllegalArgumentException(what + " '" + text + "' is not a whole number");
    }
    if (number < min || number > max)
      throw new IllegalArgumentException(what + " " + number + " is outside " + min + " to " + max);
    return number;
  }
}
