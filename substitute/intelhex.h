// Intel HEX, the text form of microcontroller images.
#pragma once

#include <cstddef>
#include <cstdint>
#include <istream>
#include <string>
#include <vector>

namespace [[gnu::visibility("hidden")]] instrument {

/// Contents of a microcontroller's flash; bytes that no record names stay erased (0xff).
struct FlashImage {
    std::vector<std::uint8_t> bytes;
    std::vector<bool> used; ///< for each byte, whether a record names it

    /// Start addresses of the blocks of `size` bytes that hold at least one used byte, ascending.
    std::vector<std::size_t> usedBlocks(std::size_t size) const;
};

struct IntelHexResult {
    FlashImage image; ///< of use only without an error
    std::size_t line = 0; ///< the last line that was looked at, counted from 1
    std::string error; ///< what is wrong in `line`; empty for a good file
};

/// Reads a whole image for a flash of `flashBytes` bytes. Good is a file of correct records of the
/// types 00 to 05 that names at least one byte, none of them twice and none beyond the flash, and
/// ends with an end record and at most blank lines.
IntelHexResult readIntelHex(std::istream &in, std::size_t flashBytes);

} // namespace instrument
