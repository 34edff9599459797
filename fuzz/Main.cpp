// The fuzzer: das_fuzz --target=NAME [options and folders as libFuzzer takes them].

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "RequestMutator.h"
#include "Target.h"

namespace {

const char* const TargetOption = "--target=";
const Target* target = nullptr;

/// libFuzzer leaves options with two dashes to the program.
const char* nameOfTarget(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        if (std::strncmp(argv[i], TargetOption, std::strlen(TargetOption)) == 0) {
            return argv[i] + std::strlen(TargetOption);
        }
    }
    return "";
}

}  // namespace

/// SQLite allocates often; long stack traces and a large quarantine would halve the speed.
extern "C" const char* __asan_default_options() {
    return "malloc_context_size=4:quarantine_size_mb=8";
}

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t room);

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    target = findTarget(nameOfTarget(*argc, *argv));
    if (target == nullptr) {
        (void)std::fprintf(stderr,
                           "usage: %s %sNAME [libFuzzer's options] [FOLDER...]\ntargets: %s\n",
                           (*argv)[0], TargetOption, targetNames());
        std::exit(2);
    }
    if (std::freopen("/dev/null", "w", stdout) == nullptr) {  // the output of a start
        std::exit(2);
    }
    target->begin();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    target->take({reinterpret_cast<const char*>(data), size});
    return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t room, unsigned seed) {
    static RequestMutator requests;
    constexpr unsigned everyFourth = 4;
    if (std::strcmp(target->name, "request") != 0 || seed % everyFourth == 0) {
        return LLVMFuzzerMutate(data, size, room);
    }
    const std::string changed =
        requests.mutate(std::string(reinterpret_cast<const char*>(data), size), seed);
    const std::size_t length = std::min(changed.size(), room);
    std::memcpy(data, changed.data(), length);
    return length;
}
