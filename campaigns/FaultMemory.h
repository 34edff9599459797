#ifndef FAULTMEMORY_H
#define FAULTMEMORY_H

/**
 * Refuses memory to the program that links this, separately for each owner: it replaces operator
 * new, SQLite's allocator, and malloc. Memory is refused only to the thread that called arm().
 */
namespace FaultMemory {

/// Who allocates memory.
enum class Owner {
    Code,    ///< operator new; a refusal is std::bad_alloc
    Sqlite,  ///< SQLite
    Library  ///< malloc itself: the XML parser, streams, folders. Not in sanitizer builds.
};

/// Makes SQLite allocate here. Call it before SQLite is used for the first time.
void install();

/// From now on counts the allocations of @p owner by this thread, and refuses number @p place, from
/// 1 on. With @p forever it refuses all later ones too. Place 0 refuses none.
void arm(Owner owner, long place, bool forever);
/// How many allocations have been counted since arm().
long counted();
/// Stops refusing memory.
void disarm();

/// How many blocks of operator new, and of SQLite, are not freed, in all threads.
long blocksOfCode();
long blocksOfSqlite();

}  // namespace FaultMemory

#endif
