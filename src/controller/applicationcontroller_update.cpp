// From the operator's decision to the end: archive test, the workers' results, the ways out.
#include "applicationcontroller.h"

#include "atmegaupdate.h"
#include "shellpath.h"
#include "vrkupdate.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFuture>
#include <QtConcurrent>

#include <plog/Log.h>

#include <cstdlib>

namespace {

/// Whether the archive's gzip stream decompresses without error; its members are not looked at.
bool verifyImageIntegrity(const QString &path)
{
    const QString command = QLatin1String("gzip -t ") + shellPath(path);
    return system(command.toUtf8().constData()) == 0;
}

} // namespace

void ApplicationController::startUpdate()
{
    if (m_boardUpdater->isRunning() || m_installer->isRunning()) {
        qWarning() << "Update is already running in background thread!";
        return;
    }
    setButtonVisible(false);
    showBusyBar();
    setMessage(tr("Checking for updates"));

    if (!QFile::exists(m_path)) {
        LOG_ERROR << "Could not find file " << m_path.toLocal8Bit().constData();
        setError(tr("Required update files missing"), EXIT_OK);
        return;
    }
    m_installer->setImagePath(m_path);
    if (!testArchive()) {
        setError(tr("Error upgrading firmware: corrupt archive"), EXIT_OK);
        return;
    }
    setMessage(tr("Upgrading..."));
    setProgressBarIndeterminate(false);
    m_installer->start(QThread::InheritPriority);
}

/// Keeps the screen alive while the archive is tested on the thread pool.
bool ApplicationController::testArchive()
{
    constexpr unsigned long pollIntervalMsecs = 500;
    const QFuture<bool> intact = QtConcurrent::run(verifyImageIntegrity, m_path);
    while (!intact.isFinished()) {
        QCoreApplication::processEvents();
        QThread::msleep(pollIntervalMsecs);
    }
    return intact.result();
}

void ApplicationController::onVRKUpdateFinished(bool result)
{
    if (!result) {
        setError(tr("Error upgrading firmware"), EXIT_OK);
        return;
    }

    const QString directory = QStringLiteral("/usr/local/share/zentar/atmega");
    const QStringList files = QDir(directory).entryList({ QStringLiteral("ZEPRA_AFW_*.hex") },
                                                        QDir::Files, QDir::Time | QDir::Reversed);
    if (files.isEmpty()) {
        setError(tr("Error upgrading firmware"), EXIT_OK);
        return;
    }
    const QString &name = files.first();
    const QString path = directory + QLatin1Char('/') + name;
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

void ApplicationController::handleButtonCancel()
{
    showLeaving(tr("Cancelling..."));
    QCoreApplication::exit(0);
}

void ApplicationController::handleButtonPress()
{
    showLeaving(tr("Rebooting..."));
    QCoreApplication::exit(exitCode());
}

void ApplicationController::showLeaving(const QString &message)
{
    setButtonVisible(false);
    showBusyBar();
    setMessage(message);
    drawScreen();
}
