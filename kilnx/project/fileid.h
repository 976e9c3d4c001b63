#pragma once

namespace Kiln
{

/// A set of file types; one file can have several. Engines may use any of the 32 bits.
struct FileID {
    enum Type : unsigned int {
        Definition = 1,
        Sprites = 2,
        Sounds = 4,
        Animations = 8,
        Commands = 16,
        Code = 32,
    };
    unsigned int bits = 0;

    constexpr FileID() = default;
    constexpr FileID(Type type)
        : bits(type)
    {
    }
    constexpr explicit FileID(unsigned int value)
        : bits(value)
    {
    }
    constexpr bool has(Type type) const { return (bits & type) != 0; }
    constexpr bool operator==(FileID other) const { return bits == other.bits; }
    constexpr bool operator!=(FileID other) const { return bits != other.bits; }
};

} // namespace Kiln
