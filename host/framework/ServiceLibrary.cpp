// All symbols are resolved when the library is loaded. So a missing symbol ends the start with a
// message, and not a later call.

#include "framework/ServiceLibrary.h"

#include <dlfcn.h>

#include <filesystem>

namespace {

const char* const LibraryName = "libDataAccessService.so";
/// The name for the loader if the development files are not installed.
const char* const VersionedName = "libDataAccessService.so.0";

std::filesystem::path placeNextToProgram() {
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    return program.parent_path() / ".." / "lib" / LibraryName;
}

std::string loaderError() {
    const char* const text = dlerror();
    return text == nullptr ? "unknown error" : text;
}

/// The handle of the library; null, with the reason in @p error, on failure. If the library next to
/// this program exists but is broken, the reason is about that one.
void* openLibrary(std::string& error) {
    const std::filesystem::path own = placeNextToProgram();
    std::error_code ignored;
    if (std::filesystem::exists(own, ignored)) {
        if (void* const library = dlopen(own.c_str(), RTLD_NOW)) {
            return library;
        }
        error = loaderError();
    }
    for (const char* const name : {LibraryName, VersionedName}) {
        if (void* const library = dlopen(name, RTLD_NOW)) {
            return library;
        }
        if (error.empty()) {
            error = loaderError();
        }
    }
    return nullptr;
}

}  // namespace

bool ServiceLibrary::open(std::string& error) {
    m_handle = openLibrary(error);
    return m_handle != nullptr;
}

void* ServiceLibrary::find(const char* name, std::string& error) const {
    void* const function = dlsym(m_handle, name);
    if (function == nullptr) {
        error = loaderError();
    }
    return function;
}
