// How a plug-in's keys are told in words and as JSON.
#include "KeyTable.h"

#include <cstdio>

namespace qvs::plugins {
namespace {

std::string numberText(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.10g", value);
  return text;
}

std::string quoted(const char* text) {
  std::string out = "\"";
  for (; *text != '\0'; ++text) {
    if (*text == '"' || *text == '\\') out += '\\';
    out += *text;
  }
  return out + '"';
}

std::string quotedList(const char* names) {
  std::string out = "[\"";
  for (; *names != '\0'; ++names) {
    if (*names == ',') {
      out += "\",\"";
    } else {
      out += *names;
    }
  }
  return out + "\"]";
}

}  // namespace

std::string outOfRangeText(const KeyText& key, double wanted) {
  return std::string(key.name) + " (" + std::to_string(key.key) + ") is " + numberText(wanted) +
         ", taken are " + numberText(key.low) + " to " + numberText(key.high);
}

std::string describePlugin(const PluginDescription& plugin, std::span<const KeyText> keys) {
  std::string out = "{\"name\":" + quoted(plugin.name) + ",\"codecs\":" + quotedList(plugin.codecs) +
                    ",\"standsOn\":" + quoted(plugin.standsOn) +
                    ",\"maxWidth\":" + std::to_string(plugin.maxWidth) +
                    ",\"maxHeight\":" + std::to_string(plugin.maxHeight) + ",\"keys\":[";
  const char* separator = "";
  for (const KeyText& key : keys) {
    out += separator;
    out += "{\"key\":" + std::to_string(key.key) + ",\"name\":" + quoted(key.name) +
           ",\"type\":" + (key.isDouble ? "\"double\"" : "\"long\"") + ",\"low\":" + numberText(key.low) +
           ",\"high\":" + numberText(key.high) + ",\"default\":" + numberText(key.initial) +
           ",\"does\":" + quoted(key.does) + "}";
    separator = ",";
  }
  return out + "]}";
}

}  // namespace qvs::plugins
