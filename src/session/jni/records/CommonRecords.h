#pragma once

#include <cstdint>
#include <string>

#include "log/LogStatement.h"
#include "session/jni/JavaRecord.h"
#include "session/MediaStreamContext.h"

// Java records that every family uses, one table each.

namespace qvs {

inline constexpr const char* kJavaString = "Ljava/lang/String;";
inline constexpr const char* kJavaList = "Ljava/util/List;";

/// A number in or out.
struct JavaLongHolder {
  int64_t value = 0;
};
inline constexpr JavaRecord<JavaLongHolder, 1> kLongHolder{nullptr,
                                                           {{{"value", "J", &JavaLongHolder::value}}}};

/// A text out.
struct JavaStringHolder {
  std::string value;
};
inline constexpr JavaRecord<JavaStringHolder, 1> kStringHolder{
    nullptr, {{{"value", kJavaString, &JavaStringHolder::value}}}};

inline constexpr JavaRecord<MediaStreamContext, 8> kStreamContext{
    nullptr,
    {{{"vhost", kJavaString, &MediaStreamContext::vhost},
      {"appName", kJavaString, &MediaStreamContext::appName},
      {"appInstanceName", kJavaString, &MediaStreamContext::appInstanceName},
      {"streamNameBase", kJavaString, &MediaStreamContext::streamNameBase},
      {"streamName", kJavaString, &MediaStreamContext::streamName},
      {"renditionName", kJavaString, &MediaStreamContext::renditionName},
      {"sessionExtraDataStr", kJavaString, &MediaStreamContext::sessionExtraDataStr},
      {"renditionExtraDataStr", kJavaString, &MediaStreamContext::renditionExtraDataStr}}}};

inline constexpr JavaRecord<LogStatement, 4> kLogStatement{
    "com/zarvo/qvs/transcoder/model/TranscoderLogStatement",
    {{{"level", "I", &LogStatement::level},
      {"contextType", "I", &LogStatement::contextType},
      {"contextIndex", "I", &LogStatement::contextIndex},
      {"statement", kJavaString, &LogStatement::str}}}};

struct JavaParameterValue {
  uint32_t dataType = 0;
  uint32_t settingIndex = 0;
  int64_t lValue = 0;
  double dValue = 0;
};
inline constexpr JavaRecord<JavaParameterValue, 6> kParameterValue{
    "com/zarvo/qvs/transcoder/model/TranscoderNativeParameterValue",
    {{{"dataType", "I", &JavaParameterValue::dataType},
      {"settingIndex", "I", &JavaParameterValue::settingIndex},
      {"lValue", "J", &JavaParameterValue::lValue},
      {"larValue", "[J"},
      {"dValue", "D", &JavaParameterValue::dValue},
      {"darValue", "[D"}}}};

inline constexpr const char* kPacketClass = "com/zarvo/qvs/transcoder/model/TranscoderPacket";

}  // namespace qvs
