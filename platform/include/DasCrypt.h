#ifndef DASCRYPT_H
#define DASCRYPT_H

#include <string>

/**
 * Encryption of stored passwords with the telephone's own key.
 *
 * The key is the file "dascrypt.key" next to the database: in the directory that "DB_PATH" of the
 * environment names, or in the working directory when that is unset. It holds 32 random bytes, its
 * owner alone may read it, and the first use makes it. A key file that is there is never replaced:
 * what it encrypted would be lost.
 */
class DasCrypt {
public:
    /// Where the key is on this machine.
    static std::string keyPlace();

    /**
     * Encrypts @p plain. The result is "das1:" and, in base64 with padding, 24 random bytes and
     * what XChaCha20-Poly1305 (IETF) makes of the text with them, "das1:" being the additional
     * data. So the same text never gives the same result twice, and a changed result can be told.
     *
     * @return blank for a blank text; blank also when there is no usable key, which is in the log.
     *         Any thread may call this; another process may make the key at the same time.
     */
    static std::string toEncryptedText(const std::string& plain);
};

#endif
