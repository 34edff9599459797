// All symbols are looked up when the library is loaded: one that is missing ends the start with a
// message, not a call in its middle.

#include "framework/ServiceLibrary.h"

#include <dlfcn.h>

#include <filesystem>

namespace {

const char* const LibraryName = "libDataAccessService.so";
/// What the loader finds where the files for developers are not installed.
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

/// The handle of the library, or null with the reason in @p error. If the library next to this
/// program is there but broken, the reason is about that one.
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
