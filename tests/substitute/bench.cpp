#include "bench.h"

#include <QFile>

#include <iostream>
#include <numeric>

CapturedOutput::CapturedOutput()
    : m_previous(std::cout.rdbuf(m_text.rdbuf()))
{
}

CapturedOutput::~CapturedOutput()
{
    std::cout.rdbuf(m_previous);
}

Bench::Bench()
{
    qputenv("VRK_EMBEDDED_API_INI", QFile::encodeName(path("settings.ini")));
}

QString Bench::path(const char *name) const
{
    return m_folder.filePath(QString::fromUtf8(name));
}

QByteArray Bench::write(const char *name, const QByteArray &content) const
{
    QFile file(path(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write %s", name);
    return QFile::encodeName(file.fileName());
}

QByteArray Bench::read(const char *name) const
{
    QFile file(path(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

VRK_ResultCode Bench::start(const QByteArray &settings) const
{
    write("settings.ini",
          "[instrument]\ninitialize_ms = 0\n[board]\npage_ms = 0\n[state]\nfile = "
                  + QFile::encodeName(path("state/board.ini")) + "\n" + settings);
    return VRK_Lib_Initialize(nullptr, nullptr, VRK_LIB_MODE_UPDATER, true);
}

QByteArray Bench::versionAfterRestart() const
{
    return start() == VRK_RESULT_OK ? boardVersion() : "not initialised";
}

QByteArray boardVersion()
{
    VRK_DeviceInfo info;
    return VRK_GetDeviceInfo(&info) == VRK_RESULT_OK ? info.atmegaVersion : "no information";
}

QByteArray hexRecord(int type, int offset, const QByteArray &data)
{
    QByteArray bytes;
    for (const int byte : { data.size(), offset / 256, offset % 256, type })
        bytes.append(static_cast<char>(byte));
    bytes += data;
    const int sum = std::accumulate(bytes.cbegin(), bytes.cend(), 0);
    bytes.append(static_cast<char>(-sum));
    return ":" + bytes.toHex().toUpper() + "\n";
}

QByteArray image(int pages)
{
    QByteArray text;
    for (int row = 0; row < pages * 16; ++row)
        text += hexRecord(0, row * 16, QByteArray(16, static_cast<char>(row)));
    return text + ":00000001FF\n";
}
