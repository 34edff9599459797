#include "Counters.h"

#include <sys/syscall.h>
#include <unistd.h>
#include <valgrind/callgrind.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

std::atomic<long long> allocations{0};
std::atomic<long long> bytes{0};
std::atomic<long long> peak{0};
std::atomic<long long> syncs{0};

/// The size of each block is stored before it, in a header that keeps the block aligned.
constexpr std::size_t header = alignof(std::max_align_t);

void* allocate(std::size_t size) {
    void* const block = std::malloc(size + header);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    *static_cast<std::size_t*>(block) = size;
    ++allocations;
    peak = std::max(peak.load(), bytes += static_cast<long long>(size));
    return static_cast<char*>(block) + header;
}

void release(void* pointer) {
    if (pointer != nullptr) {
        void* const block = static_cast<char*>(pointer) - header;
        bytes -= static_cast<long long>(*static_cast<std::size_t*>(block));
        std::free(block);
    }
}

}  // namespace

// The library's own versions for arrays call these.

void* operator new(std::size_t size) {
    return allocate(size);
}

void operator delete(void* pointer) noexcept {
    release(pointer);
}

void operator delete(void* pointer, std::size_t) noexcept {
    release(pointer);
}

// These replace the system library's functions in all libraries of the process.
extern "C" {

__attribute__((visibility("default"))) int fsync(int file) {
    ++syncs;
    return static_cast<int>(::syscall(SYS_fsync, file));
}

__attribute__((visibility("default"))) int fdatasync(int file) {
    ++syncs;
    return static_cast<int>(::syscall(SYS_fdatasync, file));
}

}  // extern "C"

Bench::Counts Bench::countsOf(const std::string& name, const std::function<void()>& work) {
    const long long bytesBefore = bytes;
    peak = bytesBefore;
    allocations = 0;
    syncs = 0;
    CALLGRIND_START_INSTRUMENTATION;
    CALLGRIND_ZERO_STATS;
    work();
    CALLGRIND_DUMP_STATS_AT(name.c_str());
    CALLGRIND_STOP_INSTRUMENTATION;
    return {allocations, peak - bytesBefore, syncs};
}
