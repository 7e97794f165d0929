#include "hexrecord.h"

#include "lines.h"

#include <numeric>

namespace instrument {

namespace {

int digitValue(char digit)
{
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    if (digit >= 'A' && digit <= 'F')
        return digit - 'A' + 10;
    if (digit >= 'a' && digit <= 'f')
        return digit - 'a' + 10;
    return -1;
}

std::string readDigits(const std::string &line, std::vector<std::uint8_t> &bytes)
{
    if (line.empty() || line.front() != ':')
        return "the record does not begin with a colon";
    if (line.size() % 2 == 0)
        return "the record has an odd number of digits";
    for (std::size_t at = 1; at < line.size(); at += 2) {
        const int high = digitValue(line[at]);
        const int low = digitValue(line[at + 1]);
        if (high < 0 || low < 0)
            return "character " + std::to_string(high < 0 ? at + 1 : at + 2)
                    + " is not a hexadecimal digit";
        bytes.push_back(static_cast<std::uint8_t>(high * 16 + low));
    }
    return {};
}

std::string checkFrame(const std::vector<std::uint8_t> &bytes)
{
    if (bytes.size() < hexFrameBytes)
        return "the record is too short";
    const std::size_t held = bytes.size() - hexFrameBytes;
    if (held != bytes.front())
        return "the record holds " + std::to_string(held) + " data bytes and announces "
                + std::to_string(bytes.front());
    const unsigned sum = std::accumulate(bytes.begin(), bytes.end() - 1, 0U);
    const unsigned expected = (0x100U - sum % 0x100U) % 0x100U;
    if (bytes.back() != expected)
        return "the checksum is " + hex(bytes.back(), 2) + " and should be " + hex(expected, 2);
    return {};
}

/// Everything but data has a fixed length and no address of its own.
std::string checkShape(const HexRecord &record)
{
    constexpr std::size_t lengths[] = { 0, 0, 2, 4, 2, 4 };
    if (record.type > StartLinearAddress)
        return "record type " + hex(record.type, 2) + " is unknown";
    if (record.type == Data)
        return {};
    if (record.data.size() != lengths[record.type])
        return "a record of type " + hex(record.type, 2) + " holds "
                + std::to_string(lengths[record.type]) + " data bytes, not "
                + std::to_string(record.data.size());
    if (record.offset != 0)
        return "a record of type " + hex(record.type, 2) + " has the address 0";
    return {};
}

} // namespace

std::string readHexRecord(const std::string &line, HexRecord &record)
{
    std::vector<std::uint8_t> bytes;
    std::string error = readDigits(line, bytes);
    if (error.empty())
        error = checkFrame(bytes);
    if (!error.empty())
        return error;
    record.offset = static_cast<std::uint16_t>(bytes[1] * 256 + bytes[2]);
    record.type = bytes[3];
    record.data.assign(bytes.begin() + 4, bytes.end() - 1);
    return checkShape(record);
}

} // namespace instrument
