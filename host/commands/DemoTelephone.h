#ifndef DEMOTELEPHONE_H
#define DEMOTELEPHONE_H

#include <cstddef>
#include <string>
#include <vector>

/**
 * What a telephone to play with holds.
 *
 * It is always the same, so that examples in the documents and tests can say what they print. Names
 * and numbers have what real ones have: letters of several scripts, wide characters, markup, blank
 * columns.
 */
namespace DemoTelephone {

/// A file of the software image, by its path below the telephone's root. The texts are those of
/// the sample in deploy/.
struct File {
    const char* path;
    const char* text;
};
constexpr std::size_t FileCount = 2;
extern const File Files[FileCount];

constexpr std::size_t ContactCount = 200;

/// The requests that fill it, in order, each with many entries.
std::vector<std::string> requests();

}  // namespace DemoTelephone

#endif
