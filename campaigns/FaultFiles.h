#ifndef FAULTFILES_H
#define FAULTFILES_H

/// Refuses operations of SQLite on files, and writes to data files. Use it from one thread.
namespace FaultFiles {

/// Which operations are refused, and with which result.
enum class Fault {
    IoError,    ///< any operation on a file or a name, with the code of its kind
    Full,       ///< a write: the disk is full
    CannotOpen  ///< the opening of a file
};

/// Installs the layer: operations of each new connection can be refused from now on. False if
/// SQLite refuses the layer.
[[nodiscard]] bool install();

/// From now on counts the operations that @p fault applies to, and refuses number @p place, from 1
/// on. With @p forever it refuses all later ones too. Place 0 refuses none.
void arm(Fault fault, long place, bool forever);
/// How many operations have been counted since arm().
long counted();
/// Stops refusing operations.
void disarm();

}  // namespace FaultFiles

#endif
