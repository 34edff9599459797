#ifndef BENCHPLACE_H
#define BENCHPLACE_H

#include <filesystem>
#include <string>

#include "testkit/Place.h"

namespace Bench {

/// The programs stand next to each other, and the disk that they stand on is measured.
inline std::filesystem::path folderOfProgram() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

/// A telephone's place, and the paths of the files that a measurement keeps next to it.
class Place : public ScratchPlace {
public:
    using ScratchPlace::ScratchPlace;

    std::string path(const char* name) const { return folder() / name; }
};

}  // namespace Bench

#endif
