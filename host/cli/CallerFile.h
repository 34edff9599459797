#ifndef CALLERFILE_H
#define CALLERFILE_H

#include <cstddef>
#include <optional>
#include <string>

/**
 * Files of the person or program that runs a command, unlike those of the telephone.
 *
 * They are opened with the rights of the caller and by the caller's paths, links included: that is
 * what a command of the shell does. Files of the telephone go through the platform, which keeps
 * them below the device root.
 */
namespace CallerFile {

/// Reads the file @p path, or standard input for "-", into @p text. 0, or errno's number; EFBIG
/// when it has more than @p most bytes.
[[nodiscard]] int read(const std::string& path, std::size_t most, std::string& text);

/// The same less one line feed at the end, which editors and shells add to a message or a value.
[[nodiscard]] int readLess(const std::string& path, std::size_t most, std::string& text);

/**
 * Writes @p text to the file @p path, which only its owner may read. It takes the place of an older
 * file when it is whole and on the disk; after a failure the older file is as it was. What is no
 * regular file, such as a pipe, is written as it is. 0, or errno's number.
 */
[[nodiscard]] int write(const std::string& path, const std::string& text);

/// PATH of "device:PATH", which names a file of the telephone; none for other names.
[[nodiscard]] std::optional<std::string> devicePath(const std::string& name);

}  // namespace CallerFile

#endif
