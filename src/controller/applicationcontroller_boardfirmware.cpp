// After the installation: which firmware the new system brings for the board, whether the board is
// flashed with it, and the end of the update.
#include "applicationcontroller.h"

#include "atmegaupdate.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

#include <plog/Log.h>

namespace {

QString firmwareFolder()
{
    return QStringLiteral("/usr/local/share/zentar/atmega");
}

/// The name of the board's firmware file in the new system: of several the one that was modified
/// longest ago. Empty when there is none.
QString firmwareFile()
{
    const QStringList names = QDir(firmwareFolder())
                                      .entryList({ QStringLiteral("ZEPRA_AFW_*.hex") }, QDir::Files,
                                                 QDir::Time | QDir::Reversed);
    return names.value(0);
}

} // namespace

void ApplicationController::onVRKUpdateFinished(bool result)
{
    if (!result) {
        setError(tr("Error upgrading firmware"), EXIT_OK);
        return;
    }

    const QString name = firmwareFile();
    if (name.isEmpty()) {
        setError(tr("Error upgrading firmware"), EXIT_OK);
        return;
    }
    const QString path = firmwareFolder() + QLatin1Char('/') + name;
    if (!QFile::exists(path)) {
        setError(tr("ATMEGA update file missing: %1").arg(path), EXIT_OK);
        return;
    }

    const std::string newVersion = ExtractVersionFromFilename(name.toLocal8Bit().toStdString(),
                                                              "ZEPRA_AFW_", ".hex");
    LOG_INFO << "Current ATMEGA version: " << m_atmegaVersion;
    LOG_INFO << "New ATMEGA version: " << newVersion;
    if (!m_boardConnected) {
        LOG_ERROR << "Measurement board not connected, ignoring ATMEGA update";
        onAtmegaUpdateFinished(true);
    } else if (m_atmegaVersion == newVersion) {
        LOG_INFO << "Versions are the same, ignoring ATMEGA update";
        onAtmegaUpdateFinished(true);
    } else {
        m_boardUpdater->setImagePath(path);
        m_boardUpdater->start(QThread::InheritPriority);
    }
}

void ApplicationController::onAtmegaUpdateFinished(bool result)
{
    if (!result) {
        setError(tr("Error upgrading measurement board firmware"), EXIT_OK);
        if (isSilent())
            QCoreApplication::exit(1);
        return;
    }

    setInstructionsText(tr("Please remove USB and then select Reboot"));
    setError(tr("Firmware upgrade successful"), EXIT_OK);
    if (isSilent()) {
        LOG_WARNING << "Update finished successfully, please reboot the device to complete update";
        QCoreApplication::exit(0);
    }
}
