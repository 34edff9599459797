#include "Damage.h"

#include <algorithm>

namespace {

constexpr std::size_t PageSize = 4096;
constexpr std::size_t HeaderSize = 100;
constexpr std::size_t RunLength = 16;

std::size_t pageAt(const std::string& file, std::size_t place) {
    return std::min(place / PageSize * PageSize, file.size() - 1);
}

void replacePages(std::string& file, std::size_t first, std::size_t second, bool both) {
    const std::string a = file.substr(first, PageSize);
    const std::string b = file.substr(second, PageSize);
    if (a.size() == b.size()) {
        file.replace(first, a.size(), b);
        file.replace(second, b.size(), both ? a : b);
    }
}

void fill(std::string& file, std::size_t place, std::size_t length, char value) {
    const auto begin = file.begin() + static_cast<std::ptrdiff_t>(place);
    std::fill(begin, begin + static_cast<std::ptrdiff_t>(std::min(length, file.size() - place)),
              value);
}

}  // namespace

void Damage::apply(std::string& file) const {
    if (file.empty()) {
        return;
    }
    const std::size_t at = place % file.size();
    const auto byte = static_cast<char>(value);
    const std::size_t other = pageAt(file, value * PageSize % file.size());
    switch (kind) {
        case Bit:
            file[at] = static_cast<char>(file[at] ^ (1 << value % 8));
            break;
        case Byte:
            file[at] = byte;
            break;
        case Header:
            file[std::min(place % HeaderSize, file.size() - 1)] = byte;
            break;
        case Run:
            fill(file, at, RunLength, byte);
            break;
        case Zeroed:
            fill(file, pageAt(file, at), PageSize, '\0');
            break;
        case Swapped:
        case Doubled:
            replacePages(file, pageAt(file, at), other, kind == Swapped);
            break;
        case CutOff:
            file.resize(at);
            break;
        case Kinds:
            break;
    }
}
