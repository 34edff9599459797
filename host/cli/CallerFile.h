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
 * them below the device root. The service's own files are refused here as there, with EPERM: a
 * data file in the place of the database would be the end of it, and a process that opens and
 * closes its database by another way loses its locks on it.
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

/// Whether @p path leads to a file of the service in DB_PATH (the database, its journals and
/// copies, the key) under whatever name. Such a file need not be there yet.
[[nodiscard]] bool isOfService(const std::string& path);

/// Reports that @p path, as @p subject, can't be read or written for @p error of a function above.
void reportError(const std::string& subject, const std::string& path, int error,
                 const std::string& advice = "");

/// Whether @p path is a name of this process's descriptor @p number, as /dev/stdout is one of 1.
/// The descriptor may lead elsewhere by the time that the file is opened, so it is asked early.
[[nodiscard]] bool leadsTo(const std::string& path, int number);

/// PATH of "device:PATH", which names a file of the telephone; none for other names.
[[nodiscard]] std::optional<std::string> devicePath(const std::string& name);

}  // namespace CallerFile

#endif
