package com.zarvo.qvs.host.session;

import com.google.gson.JsonElement;
import com.google.gson.JsonObject;
import com.google.gson.JsonParseException;
import com.google.gson.JsonParser;
import java.util.ArrayList;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;

/**
 * NVIDIA's GPUs as the transcoder's document has them, by its own names.
 *
 * @param reason in words, why there is none; "" where there is one
 * @param driver what holds for all of them
 * @param gpus each one's fields
 */
public record GpuReport(String reason, Map<String, String> driver, List<Map<String, String>> gpus) {
  static GpuReport parse(String document, String reason) {
    try {
      JsonObject cuda = JsonParser.parseString(document).getAsJsonObject().getAsJsonObject("infoCUDA");
      List<Map<String, String>> gpus = new ArrayList<>();
      if (cuda.has("gpuInfo")) for (JsonElement gpu : cuda.getAsJsonArray("gpuInfo")) gpus.add(plainFields(gpu.getAsJsonObject()));
      if (!gpus.isEmpty()) return new GpuReport("", plainFields(cuda), gpus);
      return new GpuReport(reason.isEmpty() ? "no GPU found" : reason, Map.of(), List.of());
    } catch (JsonParseException | IllegalStateException | ClassCastException | NullPointerException e) {
      return new GpuReport("the inventory tells of them what nobody can read", Map.of(), List.of());
    }
  }

  private static Map<String, String> plainFields(JsonObject from) {
    Map<String, String> fields = new LinkedHashMap<>();
    from.entrySet().stream()
        .filter(field -> field.getValue().isJsonPrimitive())
        .forEach(field -> fields.put(field.getKey(), field.getValue().getAsString()));
    return fields;
  }
}
