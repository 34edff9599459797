// The model is read from the environment at each call: tests and the host set it, and a start reads
// it only a few times.

#include "HardwareVersion.h"

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "ClientUtils.h"

namespace {

std::vector<std::string> words() {
    const char* hardware = std::getenv("DAS_HARDWARE");
    return ClientUtils::tokenizeString(hardware ? hardware : "", ",", false, true);
}

bool hasWord(const char* word) {
    const std::vector<std::string> all = words();
    return std::find(all.begin(), all.end(), word) != all.end();
}

int numberAfter(const std::string& prefix) {
    for (const std::string& word : words()) {
        if (word.compare(0, prefix.size(), prefix) == 0) {
            return ClientUtils::stoi(word.substr(prefix.size()));
        }
    }
    return 0;
}

}  // namespace

int HardwareVersion::getHWSubVariant() {
    return numberAfter("subvariant=");
}

int HardwareVersion::getHWSubPlatformVariant() {
    return numberAfter("subplatform=");
}

bool HardwareVersion::is_VX100_any() {
    return hasWord("vx100");
}

bool HardwareVersion::is_VX700() {
    return hasWord("vx700");
}

bool HardwareVersion::is_VX700X() {
    return hasWord("vx700x");
}

bool HardwareVersion::is_WiFiSupported() {
    return hasWord("wifi");
}
