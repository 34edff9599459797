#ifndef KEYIDS_H
#define KEYIDS_H

#include <string>
#include <vector>

/// Ids of rows as ranges of numbers, and of the telephone's programmable keys among them.
/// Among the ids of keys, the even hundreds from 200 on are those of the shifted levels.
namespace KeyIds {

/// Numbers from first to last, both included; none when last is below first.
struct Range {
    int first;
    int last;
};

/// The ids of @p ranges as decimal texts, in the order of the ranges.
std::vector<std::string> texts(const std::vector<Range>& ranges);

/// Ids of the keys of the telephone and its modules, without the shifted levels.
const std::vector<std::string>& normalKeys();
/// Ids of all keys, shifted levels included; ascending as numbers.
const std::vector<std::string>& allKeys();

}  // namespace KeyIds

#endif
