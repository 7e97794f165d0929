// The Intel HEX reader: any text, and texts of correct records, of which one sign may be changed.
#include "intelhex.h"

#include <QBuffer>

#include <fuzzer/FuzzedDataProvider.h>

#include <optional>
#include <stdexcept>

using substitute::FlashImage;

namespace {

constexpr quint32 flashBytes = 0x40000;

/// The image of a text; nothing when it is refused.
std::optional<FlashImage> read(QByteArray text)
{
    QBuffer buffer(&text);
    buffer.open(QIODevice::ReadOnly);
    try {
        return substitute::readIntelHex(buffer, flashBytes);
    } catch (const std::runtime_error &) {
        return {};
    }
}

/// A record, which may name another length than its own.
QByteArray record(int type, int address, const std::string &data, int excess = 0)
{
    QByteArray bytes;
    for (const int byte : { static_cast<int>(data.size()) + excess, address >> 8, address, type })
        bytes.append(static_cast<char>(byte));
    bytes.append(data.data(), static_cast<int>(data.size()));
    int sum = 0;
    for (const char byte : bytes)
        sum -= byte;
    return ':' + bytes.append(static_cast<char>(sum)).toHex() + '\n';
}

/// A text of correct records, and what stands in the flash after them unless it has to be refused.
std::pair<QByteArray, std::optional<FlashImage>> compose(FuzzedDataProvider &input)
{
    QByteArray text;
    FlashImage image;
    quint32 base = 0, lengthOfSegment = flashBytes;
    bool fits = true;
    while (input.remaining_bytes() > 0) {
        const auto upper = input.ConsumeIntegralInRange<int>(0, 5);
        switch (input.ConsumeIntegralInRange(0, 3)) {
        case 0:
            text += record(2, 0, { static_cast<char>(upper << 4), 0 });
            base = static_cast<quint32>(upper) << 16;
            lengthOfSegment = 0x10000;
            break;
        case 1:
            text += record(4, 0, { 0, static_cast<char>(upper) });
            base = static_cast<quint32>(upper) << 16;
            lengthOfSegment = flashBytes;
            break;
        case 2:
            text += record(0, 0, { 0 }, upper);
            fits = upper == 0 && image.emplace(base, 0).second && base < flashBytes && fits;
            break;
        default:
            // Near the ends of a segment, where addresses wrap or run on.
            const int start = input.ConsumeIntegralInRange(-8, 8) & 0xffff;
            const std::string data = input.ConsumeRandomLengthString(20);
            text += record(0, start, data);
            for (size_t at = 0; at < data.size(); ++at) {
                const auto address = base + (static_cast<quint32>(start) + static_cast<quint32>(at)) % lengthOfSegment;
                fits = address < flashBytes && image.emplace(address, data[at]).second && fits;
            }
        }
    }
    text += record(1, 0, {});
    return { text, fits && !image.empty() ? std::make_optional(image) : std::nullopt };
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzedDataProvider input(data, size);
    if (input.ConsumeBool()) {
        const auto image = read(QByteArray::fromStdString(input.ConsumeRemainingBytesAsString()));
        if (image && (image->empty() || image->rbegin()->first >= flashBytes))
            __builtin_trap();
        return 0;
    }
    const auto place = input.ConsumeIntegral<uint16_t>();
    const auto sign = input.ConsumeIntegral<char>();
    auto [text, image] = compose(input);
    if (read(text) != image)
        __builtin_trap();
    char &changed = text.data()[place % (text.size() - 1)];
    if (QChar::toLower(static_cast<uint>(sign)) != static_cast<uint>(changed)) {
        changed = sign;
        if (read(text))
            __builtin_trap();
    }
    return 0;
}
