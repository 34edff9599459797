#ifndef FAULTVFS_H
#define FAULTVFS_H

/**
 * A layer between SQLite and the file system of this machine that refuses operations, and a stand-in
 * for the C library's write(), by which data files are written. Nothing in the service knows of it.
 * Use it from one thread.
 */
namespace FaultVfs {

/// What is refused, and with which words.
enum class Fault {
    IoError,    ///< any operation on a file or a name, with the code of its kind
    Full,       ///< a write: the disk is full
    CannotOpen  ///< the opening of a file
};

/// The name under which SQLite knows the file system without this layer.
extern const char* const PlainName;

/// Puts the layer between; from here on each new connection goes through it.
void install();

/// From now on counts the operations that @p fault can hit, and refuses the @p place-th, the first
/// being 1. With @p forever it refuses the following ones too. Place 0 refuses none.
void arm(Fault fault, long place, bool forever);
/// How many operations have been counted since arm().
long counted();
/// Refuses nothing any more.
void disarm();

}  // namespace FaultVfs

#endif
