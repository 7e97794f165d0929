#include "intelhex.h"

#include "hexrecord.h"
#include "lines.h"

#include <utility>

namespace instrument {

namespace {

class Reader
{
public:
    explicit Reader(std::size_t flashBytes)
    {
        image.bytes.assign(flashBytes, 0xff);
        image.used.assign(flashBytes, false);
    }

    std::string take(const std::string &line)
    {
        if (m_ended)
            return trimmed(line).empty() ? "" : "something follows the end record";
        HexRecord record;
        const std::string error = readHexRecord(line, record);
        return error.empty() ? apply(record) : error;
    }

    std::string finish() const
    {
        if (!m_ended)
            return "the end record is missing";
        return m_any ? "" : "the file holds no data";
    }

    FlashImage image;

private:
    std::string apply(const HexRecord &record)
    {
        switch (record.type) {
        case Data: return store(record);
        case EndOfFile: m_ended = true; break;
        case ExtendedSegmentAddress: setBase(record, 4); break;
        case ExtendedLinearAddress: setBase(record, 16); break;
        default: // a start address means nothing to this microcontroller
            break;
        }
        return {};
    }

    void setBase(const HexRecord &record, int shift)
    {
        m_segmented = record.type == ExtendedSegmentAddress;
        m_base = static_cast<std::uint32_t>(record.data[0] * 256 + record.data[1]) << shift;
    }

    /// Offsets wrap within a segment, but run on in the linear form.
    std::uint32_t address(std::uint32_t offset) const
    {
        return m_base + (m_segmented ? offset % 0x10000 : offset);
    }

    std::string store(const HexRecord &record)
    {
        std::uint32_t offset = record.offset;
        for (const std::uint8_t byte : record.data) {
            const std::uint32_t at = address(offset++);
            if (at >= image.bytes.size())
                return "address " + hex(at, 4) + " is beyond the flash of "
                        + std::to_string(image.bytes.size()) + " bytes";
            if (image.used[at])
                return "address " + hex(at, 4) + " is written a second time";
            image.bytes[at] = byte;
            image.used[at] = true;
            m_any = true;
        }
        return {};
    }

    std::uint32_t m_base = 0;
    bool m_segmented = false;
    bool m_ended = false;
    bool m_any = false;
};

} // namespace

std::vector<std::size_t> FlashImage::usedBlocks(std::size_t size) const
{
    std::vector<std::size_t> starts;
    for (std::size_t at = 0; at < used.size(); ++at) {
        const std::size_t start = at - at % size;
        if (used[at] && (starts.empty() || starts.back() != start))
            starts.push_back(start);
    }
    return starts;
}

IntelHexResult readIntelHex(std::istream &in, std::size_t flashBytes)
{
    Reader reader(flashBytes);
    IntelHexResult result;
    std::string line;
    while (result.error.empty()) {
        const LineRead read = readLine(in, line, longestHexRecord + 1);
        if (read == LineRead::End) {
            result.error = reader.finish();
            break;
        }
        ++result.line;
        result.error = read == LineRead::TooLong ? "the line is longer than any record"
                                                 : reader.take(line);
    }
    result.image = std::move(reader.image);
    return result;
}

} // namespace instrument
