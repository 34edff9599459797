#ifndef FAULTMEMORY_H
#define FAULTMEMORY_H

/**
 * Refuses memory to the program that this is linked into, by owner: it stands in place of operator
 * new, of SQLite's allocator, and of malloc. Only the thread that armed it is refused.
 */
namespace FaultMemory {

/// Who asks for memory.
enum class Owner {
    Code,    ///< operator new; a refusal is std::bad_alloc
    Sqlite,  ///< SQLite
    Library  ///< malloc itself: the XML parser, streams, folders. Not in sanitizer builds.
};

/// Makes SQLite allocate here. Before SQLite is used for the first time.
void install();

/// From now on counts the allocations of @p owner by this thread, and refuses the @p place-th, the
/// first being 1. With @p forever it refuses the following ones too. Place 0 refuses none.
void arm(Owner owner, long place, bool forever);
/// How many allocations have been counted since arm().
long counted();
/// Refuses nothing any more.
void disarm();

/// Blocks of operator new, and of SQLite, that have not been freed, of all threads.
long blocksOfCode();
long blocksOfSqlite();

}  // namespace FaultMemory

#endif
