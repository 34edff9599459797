#ifndef DEMOTELEPHONE_H
#define DEMOTELEPHONE_H

#include <cstddef>
#include <string>
#include <vector>

/**
 * What a telephone to play with holds.
 *
 * It is always the same, so that examples in documents and tests know their output. Like real data
 * it has letters of several scripts, wide characters, markup and blank columns.
 */
namespace DemoTelephone {

/// A file of the software image, by its path below the telephone's root. The contents are those of
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
