// One line of an Intel HEX file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace [[gnu::visibility("hidden")]] instrument {

enum HexRecordType : std::uint8_t {
    Data = 0,
    EndOfFile = 1,
    ExtendedSegmentAddress = 2,
    StartSegmentAddress = 3,
    ExtendedLinearAddress = 4,
    StartLinearAddress = 5,
};

/// Length, two address bytes, type and checksum.
constexpr std::size_t hexFrameBytes = 5;
/// Characters of a record with the most data.
constexpr std::size_t longestHexRecord = 1 + 2 * (hexFrameBytes + 255);

struct HexRecord {
    std::uint8_t type = Data;
    std::uint16_t offset = 0;
    std::vector<std::uint8_t> data; ///< of the length that the type asks for
};

/// Fills `record` from a line without its end. Returns what is wrong with the line, nothing on
/// success.
std::string readHexRecord(const std::string &line, HexRecord &record);

} // namespace instrument
