#include "board.h"

#include "intelhex.h"

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSettings>
#include <QThread>

#include <plog/Log.h>

#include <set>
#include <stdexcept>
#include <thread>

namespace substitute {

namespace {

QString versionInName(const QFileInfo &image)
{
    static const QRegularExpression form(QStringLiteral("^ZEPRA_AFW_(.+?)\\.hex"));
    const QRegularExpressionMatch match = form.match(image.fileName());
    return match.hasMatch() ? match.captured(1) : image.completeBaseName();
}

void writePages(const Settings &settings, const FlashImage &image, bool all,
                const VRK_ProgressCallback *progress)
{
    std::set<quint32> used;
    for (const auto &[address, byte] : image)
        used.insert(address / settings["board/page_bytes"].toUInt());
    const auto pages = static_cast<int>(used.size());
    LOG_INFO << "Flashing " << pages << " pages";

    const int last = all ? pages : pages / 2;
    for (int done = 0; done <= last; ++done) {
        QThread::msleep(done > 0 ? settings["board/page_ms"].toUInt() : 0);
        if (progress != nullptr && progress->function != nullptr)
            progress->function(progress->userData, done, pages);
    }
}

void keep(const QString &file, const FlashImage &image, const QString &version)
{
    QSettings state(file, QSettings::IniFormat);
    state.setIniCodec("UTF-8");
    state.clear();
    state.setValue(QStringLiteral("board/version"), version);
    std::map<quint32, QByteArray> rows;
    for (const auto &[address, byte] : image)
        rows.try_emplace(address & ~31U, 32, '\xff').first->second[address & 31U] = byte;
    for (const auto &[address, row] : rows)
        state.setValue(QStringLiteral("flash/0x%1").arg(address, 6, 16, QLatin1Char('0')),
                       QString::fromLatin1(row.toHex()));
    state.sync();
    LOG_ERROR_IF(state.status() == QSettings::AccessError)
            << qUtf8Printable(file) << ": cannot be written, the board forgets this flash";
}

} // namespace

QByteArray boardVersion(const Settings &settings)
{
    QVariant version = settings["board/version"];
    const QString file = settings["state/file"].toString();
    if (QFileInfo(file).isFile()) {
        QSettings state(file, QSettings::IniFormat);
        state.setIniCodec("UTF-8");
        LOG_WARNING_IF(!state.contains(QStringLiteral("board/version")))
                << qUtf8Printable(file) << ": keeps no board version, the settings decide";
        version = state.value(QStringLiteral("board/version"), version);
    }
    return settings["board/connected"].toBool() ? version.toString().toUtf8() : QByteArray();
}

Outcome flashBoard(const Settings &settings, const std::string &path,
                   const VRK_ProgressCallback *progress)
{
    const QFileInfo info(QFile::decodeName(path.c_str()));
    if (!info.exists())
        return { VRK_RESULT_UPGRADE_FILE_NOT_FOUND, path + ": does not exist" };
    QFile file(info.filePath());
    // Opening a FIFO would wait for its other end.
    if (!info.isFile() || !file.open(QIODevice::ReadOnly))
        return { VRK_RESULT_UPGRADE_FILE_ERROR, path + ": is not a readable file" };
    FlashImage image;
    try {
        image = readIntelHex(file, settings["board/flash_bytes"].toUInt());
    } catch (const std::runtime_error &fault) {
        return { VRK_RESULT_UPGRADE_FILE_ERROR, path + ":" + fault.what() };
    }
    if (!settings["board/connected"].toBool())
        return { VRK_RESULT_BOARD_CONNECTION_FAILED, "The measurement board does not answer" };

    const VRK_ResultCode code = settings.result("board/flash_result");
    const bool works = code == VRK_RESULT_OK;
    const QString state = works ? settings["state/file"].toString() : QString();
    // What a power cut leaves while pages are written runs no more.
    if (!state.isEmpty())
        keep(state, {}, QString());
    std::thread([&] { writePages(settings, image, works, progress); }).join();
    if (!works)
        return { code, "Flashing fails as the settings tell" };
    const QString version = versionInName(info);
    if (!state.isEmpty())
        keep(state, image, version);
    return { code, "Flashed version " + version.toStdString() };
}

} // namespace substitute
