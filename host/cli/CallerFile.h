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
 * root. The service's own files are refused here too, with EPERM: a data file that replaces the
 * database would destroy it, and a process that opens and closes its database in another way loses
 * its locks on it.
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

/// Whether @p path leads to a file of the service in DB_PATH (the database, its journals and
/// copies, the key) under whatever name. Such a file need not be there yet.
[[nodiscard]] bool isOfService(const std::string& path);

/// Reports that @p path, as @p subject, can't be read or written for @p error of a function above.
void reportError(const std::string& subject, const std::string& path, int error,
                 const std::string& advice = "");

/// Whether @p path is a name of this process's descriptor @p number, as /dev/stdout is one of 1.
/// The descriptor may lead elsewhere by the time that the file is opened, so it is asked early.
[[nodiscard]] bool leadsTo(const std::string& path, int number);

/// PATH of "device:PATH", which names a file of the telephone; no value for other names.
[[nodiscard]] std::optional<std::string> devicePath(const std::string& name);

}  // namespace CallerFile

#endif
