#include "FaultMemory.h"

#include <sqlite3.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <new>

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define DAS_OWN_MALLOC 1
#endif

namespace {

using FaultMemory::Owner;

struct State {
    bool isArmed;
    Owner owner;
    long place;
    bool forever;
    long counted;
    int within;  ///< depth of nested functions below, whose own calls of malloc do not count
};

// A thread-local without a constructor, so that it works even while the program is being loaded.
thread_local State state{false, Owner::Code, 0, false, 0, 0};
std::atomic<long> codeBlocks{0};
std::atomic<long> sqliteBlocks{0};

bool isHit(Owner owner) {
    if (!state.isArmed || state.owner != owner) {
        return false;
    }
    const long number = ++state.counted;
    return state.place > 0 && (number == state.place || (state.forever && number > state.place));
}

#ifdef DAS_OWN_MALLOC
/// The result of a refused malloc; errno shows callers why it failed.
void* refused() {
    errno = ENOMEM;
    return nullptr;
}
#endif

/// Marks calls of malloc inside an allocation that was already counted.
class Door {
public:
    Door() { ++state.within; }
    ~Door() { --state.within; }
    Door(const Door&) = delete;
    Door& operator=(const Door&) = delete;
};

void* newBlock(std::size_t size, std::size_t alignment) {
    if (isHit(Owner::Code)) {
        return nullptr;
    }
    const Door door;
    const std::size_t atLeastOne = size > 0 ? size : 1;
    void* const block =
        alignment == 0
            ? std::malloc(atLeastOne)
            : std::aligned_alloc(alignment, (atLeastOne + alignment - 1) / alignment * alignment);
    codeBlocks += block != nullptr ? 1 : 0;
    return block;
}

void* newBlockOrThrow(std::size_t size, std::size_t alignment = 0) {
    void* const block = newBlock(size, alignment);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void deleteBlock(void* block) noexcept {
    if (block != nullptr) {
        --codeBlocks;
        std::free(block);
    }
}

// SQLite asks for the size of a block, so each block stores it at its front.
constexpr std::size_t Head = 16;

void* sqliteMalloc(int size) {
    if (isHit(Owner::Sqlite)) {
        return nullptr;
    }
    const Door door;
    auto* const block = static_cast<char*>(std::malloc(static_cast<std::size_t>(size) + Head));
    if (block == nullptr) {
        return nullptr;
    }
    ++sqliteBlocks;
    *reinterpret_cast<int*>(block) = size;
    return block + Head;
}

void sqliteFree(void* memory) {
    --sqliteBlocks;
    std::free(static_cast<char*>(memory) - Head);
}

void* sqliteRealloc(void* memory, int size) {
    if (isHit(Owner::Sqlite)) {
        return nullptr;
    }
    const Door door;
    auto* const block = static_cast<char*>(
        std::realloc(static_cast<char*>(memory) - Head, static_cast<std::size_t>(size) + Head));
    if (block == nullptr) {
        return nullptr;
    }
    *reinterpret_cast<int*>(block) = size;
    return block + Head;
}

int sqliteSize(void* memory) {
    return memory != nullptr ? *reinterpret_cast<int*>(static_cast<char*>(memory) - Head) : 0;
}

int sqliteRoundUp(int size) {
    return (size + 7) & ~7;
}

int sqliteStart(void*) {
    return SQLITE_OK;
}

void sqliteStop(void*) {}

}  // namespace

void FaultMemory::install() {
    static sqlite3_mem_methods methods = {sqliteMalloc,  sqliteFree,  sqliteRealloc, sqliteSize,
                                          sqliteRoundUp, sqliteStart, sqliteStop,    nullptr};
    sqlite3_config(SQLITE_CONFIG_MALLOC, &methods);
    // Lookaside memory would serve most allocations of a connection without calling the allocator.
    sqlite3_config(SQLITE_CONFIG_LOOKASIDE, 0, 0);
}

void FaultMemory::arm(Owner owner, long place, bool forever) {
    state.owner = owner;
    state.place = place;
    state.forever = forever;
    state.counted = 0;
    state.isArmed = true;
}

long FaultMemory::counted() {
    return state.counted;
}

void FaultMemory::disarm() {
    state.isArmed = false;
}

long FaultMemory::blocksOfCode() {
    return codeBlocks;
}

long FaultMemory::blocksOfSqlite() {
    return sqliteBlocks;
}

// ---- Replacements of the library's own functions. Those for arrays call these.

void* operator new(std::size_t size) {
    return newBlockOrThrow(size);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return newBlockOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return newBlock(size, 0);
}
void operator delete(void* block) noexcept {
    deleteBlock(block);
}
void operator delete(void* block, std::size_t) noexcept {
    deleteBlock(block);
}
void operator delete(void* block, std::align_val_t) noexcept {
    deleteBlock(block);
}
void operator delete(void* block, std::size_t, std::align_val_t) noexcept {
    deleteBlock(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
    deleteBlock(block);
}

#ifdef DAS_OWN_MALLOC

extern "C" {

// The C library also has its own functions under these names, for programs that replace them.
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);

void* malloc(std::size_t size) {
    return state.within == 0 && isHit(Owner::Library) ? refused() : __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) {
    return state.within == 0 && isHit(Owner::Library) ? refused() : __libc_calloc(count, size);
}

void* realloc(void* block, std::size_t size) {
    return state.within == 0 && isHit(Owner::Library) ? refused() : __libc_realloc(block, size);
}
}

#endif
