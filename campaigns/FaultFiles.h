#ifndef FAULTFILES_H
#define FAULTFILES_H

/// Refuses operations of SQLite on files, and writes to data files. Use it from one thread.
namespace FaultFiles {

/// What is refused, and with which words.
enum class Fault {
    IoError,    ///< any operation on a file or a name, with the code of its kind
    Full,       ///< a write: the disk is full
    CannotOpen  ///< the opening of a file
};

/// From here on each new connection may be refused something. False when SQLite does not take it.
[[nodiscard]] bool install();

/// From now on counts the operations that @p fault can hit, and refuses the @p place-th, the first
/// being 1. With @p forever it refuses those after it too. Place 0 refuses none.
void arm(Fault fault, long place, bool forever);
/// How many operations have been counted since arm().
long counted();
/// Refuses nothing any more.
void disarm();

}  // namespace FaultFiles

#endif
