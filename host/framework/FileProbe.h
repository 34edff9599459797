#ifndef FILEPROBE_H
#define FILEPROBE_H

#include <string>

/// What opening a file of the telephone meets, asked before the service is: it acknowledges an
/// import and an export in any case.
struct FileProbe {
    int error;  ///< errno's number, 0 for none and for what the service refuses with a reason
    std::string place;  ///< where it stands on this machine; empty where the path leads out of it

    /// Tries the file @p path of the telephone for reading or writing, and leaves none behind.
    static FileProbe of(const std::string& path, bool forWriting);
};

#endif
