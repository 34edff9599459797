// Ids of keys are ranges with gaps, since each group of keys begins at a round number. The strings
// are made once, because many tables have a row for each key.

#include "dao/KeyIds.h"

#include "ClientUtils.h"

std::vector<std::string> KeyIds::texts(const std::vector<Range>& ranges) {
    std::vector<std::string> all;
    for (const Range& range : ranges) {
        for (int id = range.first; id <= range.last; ++id) {
            all.push_back(ClientUtils::itos(id));
        }
    }
    return all;
}

const std::vector<std::string>& KeyIds::normalKeys() {
    static const std::vector<std::string> ids =
        texts({{32, 32}, {100, 115}, {300, 317}, {500, 517}, {700, 717}, {900, 917}});
    return ids;
}

const std::vector<std::string>& KeyIds::allKeys() {
    static const std::vector<std::string> ids = texts({{32, 32},
                                                       {100, 115},
                                                       {200, 215},
                                                       {300, 317},
                                                       {400, 417},
                                                       {500, 517},
                                                       {600, 617},
                                                       {700, 717},
                                                       {800, 817},
                                                       {900, 917},
                                                       {1000, 1017}});
    return ids;
}
