// Atomic replacement of files.
#pragma once

#include <functional>
#include <ostream>
#include <string>

namespace tarvonel
{

/// Replaces or creates the file with what `write` puts into the stream. A crash, a power cut or a full
/// disk leaves either the old or the complete new file: the content goes to `path`.part first, is synced,
/// and then renamed. Throws std::runtime_error, with the old file unchanged, where that fails.
void replaceFile(const std::string &path, const std::function<void(std::ostream &)> &write);

} // namespace tarvonel
