#ifndef HARDWAREVERSION_H
#define HARDWAREVERSION_H

/**
 * The model of the telephone.
 *
 * On a host the values come from the environment variable "DAS_HARDWARE", words joined by commas:
 * "subvariant=N", "subplatform=N", "vx100", "vx700", "vx700x", "wifi". It is read at each call. If
 * it is unset, it is not any of these models, and both variants are 0.
 */
class HardwareVersion {
public:
    static int getHWSubVariant();          ///< N of "subvariant=N", else 0
    static int getHWSubPlatformVariant();  ///< N of "subplatform=N", else 0
    static bool is_VX100_any();            ///< "vx100"
    static bool is_VX700();                ///< "vx700"
    static bool is_VX700X();               ///< "vx700x"
    static bool is_WiFiSupported();        ///< "wifi"
};

#endif
