#ifndef DECRYPTION_H
#define DECRYPTION_H

#include <sodium.h>

#include <filesystem>
#include <string>
#include <vector>

#include "testkit/Place.h"

/// Decrypts a text of DasCrypt, by its documented form and the key file @p key. Any other text
/// becomes "not encrypted: " followed by the text.
inline std::string decrypted(const std::string& text, const std::filesystem::path& key) {
    constexpr std::size_t nonceSize = crypto_aead_xchacha20poly1305_ietf_NPUBBYTES;
    constexpr std::size_t tagSize = crypto_aead_xchacha20poly1305_ietf_ABYTES;
    const std::string version = "das1:";
    const auto bytesOf = [](const std::string& s) {
        return reinterpret_cast<const unsigned char*>(s.data());
    };
    const std::string keyBytes = readFile(key);
    std::vector<unsigned char> sealed(text.size());
    std::size_t size = 0;
    if (text.rfind(version, 0) != 0 ||
        keyBytes.size() != crypto_aead_xchacha20poly1305_ietf_KEYBYTES ||
        sodium_base642bin(sealed.data(), sealed.size(), text.data() + version.size(),
                          text.size() - version.size(), nullptr, &size, nullptr,
                          sodium_base64_VARIANT_ORIGINAL) != 0 ||
        size < nonceSize + tagSize) {
        return "not encrypted: " + text;
    }
    std::string plain(size - nonceSize - tagSize, '\0');
    const int code = crypto_aead_xchacha20poly1305_ietf_decrypt(
        reinterpret_cast<unsigned char*>(plain.data()), nullptr, nullptr, sealed.data() + nonceSize,
        size - nonceSize, bytesOf(version), version.size(), sealed.data(), bytesOf(keyBytes));
    return code == 0 ? plain : "not encrypted: " + text;
}

#endif
