#pragma once

#include <string>

struct AVDictionary;

namespace qvs::host {

/// The containers and codecs that input may have unless any is asked for. What is rare is seldom well tried, and
/// a playlist names what else is to be read: only a server's is followed.
class FormatLists {
 public:
  static void apply(AVDictionary** options, bool url);
  /// The format of a local file that these lists leave out; "" where it is in them or nobody knows it.
  static std::string leftOut(const std::string& path);
};

}  // namespace qvs::host
