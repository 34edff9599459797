#ifndef DAMAGE_H
#define DAMAGE_H

#include <cstdint>
#include <string>

/// One kind of damage to a file, with two numbers for the position and the details.
struct Damage {
    enum Kind : std::uint8_t {
        Bit,      ///< flips bit @p value of the byte at @p place
        Byte,     ///< the byte at @p place becomes @p value
        Header,   ///< the same, among the first hundred bytes
        Run,      ///< sixteen bytes from @p place become @p value
        Zeroed,   ///< the page of @p place holds zeros
        Swapped,  ///< the page of @p place and the page @p value change places
        Doubled,  ///< the page @p value is written over the page of @p place
        CutOff,   ///< the file ends at @p place
        Kinds
    };

    Kind kind;
    std::size_t place;  ///< any number; it is reduced to the size of the file
    std::uint8_t value;

    /// Damages @p file, the bytes of a database; an empty file does not change.
    void apply(std::string& file) const;
};

#endif
