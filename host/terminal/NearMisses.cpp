// There are few words and they are short, so the plain algorithm is enough: a table of distances,
// computed row by row.

#include "terminal/NearMisses.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace {

constexpr std::size_t MostOffered = 3;

std::string lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char character) {
        return static_cast<char>(std::tolower(character));
    });
    return text;
}

/// How many letters must be changed, added, dropped or swapped with a neighbour to turn @p first
/// into @p second.
std::size_t distance(const std::string& first, const std::string& second) {
    std::vector<std::size_t> before(second.size() + 1);
    std::vector<std::size_t> last(second.size() + 1);
    std::vector<std::size_t> now(second.size() + 1);
    for (std::size_t j = 0; j <= second.size(); ++j) {
        last[j] = j;
    }
    for (std::size_t i = 1; i <= first.size(); ++i) {
        now[0] = i;
        for (std::size_t j = 1; j <= second.size(); ++j) {
            const std::size_t change = first[i - 1] == second[j - 1] ? 0 : 1;
            now[j] = std::min({last[j] + 1, now[j - 1] + 1, last[j - 1] + change});
            if (i > 1 && j > 1 && first[i - 1] == second[j - 2] && first[i - 2] == second[j - 1]) {
                now[j] = std::min(now[j], before[j - 2] + 1);
            }
        }
        before.swap(last);
        last.swap(now);
    }
    return last[second.size()];
}

/// The distance of @p candidate; more than the largest allowed distance if it can't be meant.
std::size_t farness(const std::string& word, const std::string& candidate, std::size_t farthest) {
    const bool isPart = word.size() > 2 && candidate.find(word) != std::string::npos;
    const std::size_t letters = distance(word, candidate);
    return isPart && letters > farthest ? farthest : letters;
}

}  // namespace

std::vector<std::string> NearMisses::of(const std::string& word,
                                        const std::vector<std::string>& candidates) {
    const std::string wanted = lower(word);
    const std::size_t farthest = 1 + wanted.size() / 4;
    std::vector<std::pair<std::size_t, std::string>> found;
    for (const std::string& candidate : candidates) {
        const std::size_t far = farness(wanted, lower(candidate), farthest);
        if (far <= farthest) {
            found.emplace_back(far, candidate);
        }
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<std::string> names;
    for (std::size_t i = 0; i < std::min(found.size(), MostOffered); ++i) {
        names.push_back(found[i].second);
    }
    return names;
}

std::string NearMisses::question(const std::string& word,
                                 const std::vector<std::string>& candidates,
                                 const std::string& otherwise) {
    std::string text;
    for (const std::string& name : of(word, candidates)) {
        text += (text.empty() ? "did you mean " : " or ") + name;
    }
    return text.empty() ? otherwise : text + "?";
}
