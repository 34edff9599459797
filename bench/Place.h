#ifndef BENCHPLACE_H
#define BENCHPLACE_H

#include <filesystem>
#include <string>

#include "testkit/Place.h"

namespace Bench {

/// The folder of this program, which contains the other programs too and is on the measured disk.
inline std::filesystem::path folderOfProgram() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

/// A telephone's folders, and the paths of the files that a measurement keeps next to them.
class Place : public ScratchPlace {
public:
    using ScratchPlace::ScratchPlace;

    std::string path(const char* name) const { return folder() / name; }
};

}  // namespace Bench

#endif
