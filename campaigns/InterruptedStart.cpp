// das_interrupted_start N: starts the service and is killed before the N-th operation that changes
// a file. With 0 it comes to its end and prints how many there were,
// and whether the database was copied. A process that ends by
// SIGKILL has said on standard error whether its upgrade had ended.
//
// The operations below stand in front of the system's for all libraries of this program, SQLite
// among them, since the names of a program come before theirs.

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Context.h"
#include "RecordingManagement.h"
#include "service/DataAccessService.h"

namespace {

long operations = 0;
long last = 0;
bool hadCopy = false;
bool lostCopy = false;

void count() {
    if (++operations == last) {
        const char* const end = lostCopy ? "ended\n" : hadCopy ? "copied\n" : "before\n";
        (void)!::write(STDERR_FILENO, end, std::strlen(end));
        (void)::kill(::getpid(), SIGKILL);
    }
}

bool isCopy(const char* path) {
    const char* const ending = ".before-upgrade";
    const std::size_t length = std::strlen(path);
    return length >= std::strlen(ending) &&
           std::strcmp(path + length - std::strlen(ending), ending) == 0;
}

template <typename Function>
Function systemsOwn(Function, const char* name) {
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

/// A context whose only service is the management.
class ManagedContext : public Context {
public:
    Executable* findService(const std::string& name) override {
        return name == "LocalMgmtIfc" ? &m_management : nullptr;
    }

private:
    RecordingManagement m_management;
};

}  // namespace

extern "C" {

ssize_t write(int file, const void* bytes, size_t length) {
    static const auto own = systemsOwn(&::write, "write");
    if (file > STDERR_FILENO) {
        count();
    }
    return own(file, bytes, length);
}

ssize_t pwrite64(int file, const void* bytes, size_t length, off64_t offset) {
    static const auto own = systemsOwn(&::pwrite64, "pwrite64");
    count();
    return own(file, bytes, length, offset);
}

int ftruncate64(int file, off64_t length) noexcept {
    static const auto own = systemsOwn(&::ftruncate64, "ftruncate64");
    count();
    return own(file, length);
}

int fsync(int file) {
    static const auto own = systemsOwn(&::fsync, "fsync");
    count();
    return own(file);
}

int fdatasync(int file) {
    static const auto own = systemsOwn(&::fdatasync, "fdatasync");
    count();
    return own(file);
}

int unlink(const char* path) noexcept {
    static const auto own = systemsOwn(&::unlink, "unlink");
    count();
    const int result = own(path);
    lostCopy = lostCopy || (hadCopy && result == 0 && isCopy(path));
    return result;
}

int unlinkat(int folder, const char* path, int flags) noexcept {
    static const auto own = systemsOwn(&::unlinkat, "unlinkat");
    count();
    return own(folder, path, flags);
}

int renameat(int fromFolder, const char* from, int toFolder, const char* to) noexcept {
    static const auto own = systemsOwn(&::renameat, "renameat");
    count();
    return own(fromFolder, from, toFolder, to);
}

int openat64(int folder, const char* path, int flags, ...) {
    static const auto own = systemsOwn(&::openat64, "openat64");
    std::va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    if ((flags & O_CREAT) != 0) {
        count();
    }
    return own(folder, path, flags, mode);
}

int openat(int folder, const char* path, int flags, ...) {
    std::va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return openat64(folder, path, flags, mode);
}

int remove(const char* path) noexcept {
    static const auto own = systemsOwn(&::remove, "remove");
    count();
    return own(path);
}

int rename(const char* from, const char* to) noexcept {
    static const auto own = systemsOwn(&::rename, "rename");
    count();
    const int result = own(from, to);
    hadCopy = hadCopy || (result == 0 && isCopy(to));
    return result;
}

int open64(const char* path, int flags, ...) {
    static const auto own = systemsOwn(&::open64, "open64");
    std::va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    if ((flags & O_CREAT) != 0) {
        count();
    }
    return own(path, flags, mode);
}

int open(const char* path, int flags, ...) {
    std::va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return open64(path, flags, mode);
}

}  // extern "C"

int main(int argc, char** argv) {
    last = argc > 1 ? std::strtol(argv[1], nullptr, 10) : 0;
    ManagedContext context;
    {
        DataAccessService service;
        service.init(context);
    }
    std::printf("%ld %d\n", operations, hadCopy ? 1 : 0);
    return 0;
}
