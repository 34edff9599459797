#include "cli/ValueSource.h"

#include <cerrno>
#include <cstddef>

#include "cli/CallerFile.h"
#include "terminal/Complaint.h"

namespace {

/// No message over a socket can be larger; and a device may have no end.
constexpr std::size_t LargestValue = 8 * 1024 * 1024;

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
    const int error = CallerFile::readLess(source, LargestValue, value);
    if (error != 0) {
        Complaint::reportError(name + "=@" + source, error,
                               error == EFBIG
                                   ? "a value has at most 8 MiB"
                                   : "@FILE is a file, @- standard input, @@TEXT the value @TEXT");
    }
    return error == 0;
}
