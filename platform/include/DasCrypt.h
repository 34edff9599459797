#ifndef DASCRYPT_H
#define DASCRYPT_H

#include <string>

/**
 * Encryption of stored passwords with the telephone's own key.
 *
 * The key is the file "dascrypt.key" next to the database: in the directory that "DB_PATH" of the
 * environment names, or in the working directory when that is unset. It holds 32 random bytes, only
 * its owner may read it, and the first use creates it. An existing key file is never replaced,
 * because passwords that were encrypted with it would be lost.
 */
class DasCrypt {
public:
    /// Where the key is on this machine.
    static std::string keyPlace();

    /**
     * Encrypts @p plain. The result is "das1:" followed, in base64 with padding, by 24 random bytes
     * (the nonce) and the output of XChaCha20-Poly1305 (IETF), with "das1:" as additional data. So
     * the same text never has the same result twice, and a changed result is detected.
     *
     * @return blank for a blank text; blank also when there is no usable key, which is in the log.
     *         Any thread may call this; another process may make the key at the same time.
     */
    static std::string toEncryptedText(const std::string& plain);
};

#endif
