#include "cli/ValueSource.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>

#include "terminal/Complaint.h"

namespace {

/// No message over a socket can be larger; and a device may have no end.
constexpr std::size_t LargestValue = 8 * 1024 * 1024;

/// Appends what can be read from @p file to @p text; 0, or the error of the system.
int readAll(int file, std::string& text) {
    char piece[16384];
    ssize_t count = 0;
    while ((count = ::read(file, piece, sizeof piece)) > 0) {
        text.append(piece, static_cast<std::size_t>(count));
        if (text.size() > LargestValue) {
            return EFBIG;
        }
    }
    return count < 0 ? errno : 0;
}

int readFile(const std::string& path, std::string& text) {
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return errno;
    }
    const int error = readAll(file, text);
    (void)::close(file);
    return error;
}

}  // namespace

bool ValueSource::isStandardInput(const std::string& value) {
    return value == "@-";
}

bool ValueSource::read(const std::string& name, std::string& value) {
    if (value.empty() || value.front() != '@') {
        return true;
    }
    const std::string source = value.substr(1);
    if (source.rfind('@', 0) == 0) {
        value = source;
        return true;
    }
    value.clear();
    const int error =
        isStandardInput("@" + source) ? readAll(STDIN_FILENO, value) : readFile(source, value);
    if (error != 0) {
        Complaint::tellError(name + "=@" + source, error,
                             error == EFBIG
                                 ? "a value has at most 8 MiB"
                                 : "@FILE is a file, @- standard input, @@TEXT the value @TEXT");
        return false;
    }
    if (!value.empty() && value.back() == '\n') {
        value.pop_back();
    }
    return true;
}
