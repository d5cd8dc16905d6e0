#pragma once

#include <map>
#include <string>
#include <vector>

namespace qvs {

/// Plug-in libraries that would take this process with them, by file, with what they do: "crashed in getVersion (Aborted)". Each
/// file is loaded and asked for its version in a child process, by the program `qvs-plugin-probe` beside the file, or in the folder
/// `bin` beside the file's own. Files that aren't there are passed over. Where the program isn't there nothing is found.
std::map<std::string, std::string> findUnsafePlugins(const std::vector<std::string>& files);

}  // namespace qvs
