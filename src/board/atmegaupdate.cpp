#include "atmegaupdate.h"

#include "vrk-embedded-api.h"

#include <QDebug>
#include <QFileInfo>
#include <QSysInfo>

#include <plog/Log.h>

namespace {

/// Scale of the reported values. After an installation the bar is full already, and the controller
/// keeps it so.
constexpr double reportScale = 0.1;
constexpr int expectedDurationMsecs = 2000;

void progressCallback(void *userData, int done, int total)
{
    if (total == 0)
        return;
    static_cast<AtmegaUpdate *>(userData)->setProgress(static_cast<double>(done) / total);
}

const char *failureText(VRK_ResultCode code)
{
    switch (code) {
    case VRK_RESULT_BOARD_CONNECTION_FAILED:
        return "ATMEGA Upgrade failed because Connection to measurement board failed";
    case VRK_RESULT_UPGRADE_STORAGE_NOT_MOUNTED:
        return "ATMEGA Upgrade failed because Upgrade storage not mounted";
    case VRK_RESULT_UPGRADE_FILE_NOT_FOUND:
        return "ATMEGA Upgrade failed because Upgrade file not found";
    case VRK_RESULT_UPGRADE_FILE_ERROR: return "ATMEGA Upgrade failed because Upgrade file error";
    case VRK_RESULT_OTHER_INSTANCE_RUNNING:
        return "ATMEGA Upgrade failed because Another instance of ZEPRA is running";
    default: return "ATMEGA Upgrade failed for unknown reason";
    }
}

} // namespace

AtmegaUpdate::AtmegaUpdate(QObject *parent)
    : QThread(parent)
{
}

double AtmegaUpdate::progress() const
{
    return m_progress;
}

void AtmegaUpdate::setImagePath(const QString &imagePath)
{
    LOG_INFO << "AtmegaUpdate::setImagePath: " << imagePath.toLocal8Bit().constData();
    m_imagePath = imagePath;
}

void AtmegaUpdate::setProgress(double progress)
{
    if (qFuzzyCompare(m_progress, progress))
        return;
    m_progress = progress;
    emit progressChanged(progress * reportScale, expectedDurationMsecs);
}

void AtmegaUpdate::run()
{
    const ScopeLogger scope("AtmegaUpdate::run", false);
    emit resultReady(flash());
}

bool AtmegaUpdate::flash()
{
    if (QSysInfo::buildCpuArchitecture() != QLatin1String("arm")) {
        qWarning() << "Update is not supported on non-ARM platforms";
        return false;
    }
    setProgress(0.0);

    if (m_imagePath.isEmpty()) {
        qWarning() << "Image Path cannot be empty";
        return false;
    }
    if (!QFileInfo::exists(m_imagePath)) {
        qWarning() << "Could not find image file at " << m_imagePath;
        return false;
    }

    const VRK_ProgressCallback progressRecord = { progressCallback, this };
    const VRK_ResultCode code = VRK_FlashATMEGA_file(m_imagePath.toLatin1().constData(),
                                                     &progressRecord);
    if (code == VRK_RESULT_OK) {
        qWarning() << "ATMEGA Firmware upgrade successfully";
        return true;
    }
    qWarning() << "Error upgrading firmware. Error return: " << static_cast<int>(code);
    qWarning() << failureText(code);
    return false;
}
