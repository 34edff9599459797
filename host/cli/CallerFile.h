#ifndef CALLERFILE_H
#define CALLERFILE_H

#include <cstddef>
#include <optional>
#include <string>

/**
 * Files of the person or program that runs a command, unlike those of the telephone.
 *
 * They are opened with the caller's permissions and paths, and links are followed, as shell
 * commands do. Files of the telephone go through the platform, which keeps them below the device
 * root.
 */
namespace CallerFile {

/// Reads the file @p path, or standard input for "-", into @p text. Returns 0, or an errno value;
/// EFBIG if it has more than @p most bytes.
[[nodiscard]] int read(const std::string& path, std::size_t most, std::string& text);

/// The same, but without one line feed at the end, which editors and shells add to a message or a
/// value.
[[nodiscard]] int readLess(const std::string& path, std::size_t most, std::string& text);

/**
 * Writes @p text to the file @p path, which only its owner may read. An existing file is replaced
 * only when the new one is complete and on the disk; after a failure it is unchanged. If @p path is
 * not a regular file, such as a pipe, it is written directly. Returns 0, or an errno value.
 */
[[nodiscard]] int write(const std::string& path, const std::string& text);

/// PATH of "device:PATH", which names a file of the telephone; no value for other names.
[[nodiscard]] std::optional<std::string> devicePath(const std::string& name);

}  // namespace CallerFile

#endif
