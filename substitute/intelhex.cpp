#include "intelhex.h"

#include <QtEndian>

#include <numeric>
#include <stdexcept>
#include <string>

namespace substitute {

namespace {

constexpr int frameBytes = 5; // length, two address bytes, type and checksum
constexpr int longestLine = 1 + 2 * (frameBytes + 255) + 2;

class Reader
{
public:
    explicit Reader(quint32 flashBytes)
        : m_flashBytes(flashBytes)
    {
    }

    FlashImage read(QIODevice &in)
    {
        while (!in.atEnd()) {
            ++m_line;
            // The rest of a longer line is no record either.
            const QByteArray line = in.readLine(longestLine + 1).trimmed();
            require(!m_ended || line.isEmpty(), "something follows the end record");
            if (!m_ended)
                takeRecord(line);
        }
        require(m_ended, "the end record is missing");
        require(!m_image.empty(), "the file holds no data");
        return m_image;
    }

private:
    void require(bool condition, const char *fault) const
    {
        if (!condition)
            throw std::runtime_error(std::to_string(m_line) + ": " + fault);
    }

    void takeRecord(const QByteArray &line)
    {
        const QByteArray bytes = QByteArray::fromHex(line.mid(1));
        require(line.startsWith(':') && bytes.toHex() == line.mid(1).toLower(),
                "not a colon and pairs of hexadecimal digits");
        require(bytes.size() >= frameBytes, "the record is too short");
        const QByteArray data = bytes.mid(4, bytes.size() - frameBytes);
        require(data.size() == static_cast<quint8>(bytes[0]), "the record's length is wrong");
        require(std::accumulate(bytes.begin(), bytes.end(), 0) % 256 == 0, "the checksum is wrong");
        apply(bytes[3], qFromBigEndian<quint16>(bytes.constData() + 1), data);
    }

    void apply(int type, quint32 offset, const QByteArray &data)
    {
        constexpr int lengths[] = { 0, 0, 2, 4, 2, 4 };
        require(type >= 0 && type <= 5, "the record's type is unknown");
        require(type == 0 || data.size() == lengths[type], "the length does not suit the type");
        switch (type) {
        case 0: store(offset, data); break;
        case 1: m_ended = true; break;
        case 2:
        case 4:
            m_segmented = type == 2;
            m_base = qFromBigEndian<quint16>(data.constData()) * (m_segmented ? 0x10U : 0x10000U);
            break;
        default: break; // a start address means nothing to this microcontroller
        }
    }

    void store(quint32 offset, const QByteArray &data)
    {
        for (const char byte : data) {
            // Offsets wrap within a segment, but run on in the linear form.
            const quint32 address = m_base + (m_segmented ? offset % 0x10000 : offset);
            require(address < m_flashBytes, "the record goes beyond the flash");
            require(m_image.emplace(address, byte).second, "a byte is named a second time");
            ++offset;
        }
    }

    const quint32 m_flashBytes;
    FlashImage m_image;
    int m_line = 0;
    quint32 m_base = 0;
    bool m_segmented = false;
    bool m_ended = false;
};

} // namespace

FlashImage readIntelHex(QIODevice &in, quint32 flashBytes)
{
    return Reader(flashBytes).read(in);
}

} // namespace substitute
