// The start of an update: is the archive there, is it whole, then the installer.
#include "applicationcontroller.h"

#include "atmegaupdate.h"
#include "shellpath.h"
#include "vrkupdate.h"

#include <QCoreApplication>
#include <QDebug>
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
