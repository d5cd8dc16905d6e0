#pragma once

#include <string>

namespace qvs {

/// Names of the stream that a stage works for, as the server gives them. Any may be empty.
class MediaStreamContext {
 public:
  std::string vhost;
  std::string appName;
  std::string appInstanceName;
  std::string streamNameBase;
  std::string streamName;
  std::string renditionName;
  std::string sessionExtraDataStr;
  std::string renditionExtraDataStr;
};

}  // namespace qvs
