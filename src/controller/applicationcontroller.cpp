// The controller's life: construction, destruction, and drawing a screen in between.
#include "applicationcontroller.h"

#include "atmegaupdate.h"
#include "localemanager.h"
#include "vrkupdate.h"

#include <QDebug>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QPointer>
#include <QQmlApplicationEngine>
#include <QSettings>
#include <QThread>
#include <QWindow>

#include <vector>

namespace {

/// Lets a worker finish what must not be cut short, then deletes it.
void endWorker(QThread *worker)
{
    worker->requestInterruption();
    worker->wait();
    delete worker;
}

/// Gives the display a second to show a new window, which cannot be drawn before.
void awaitExposure(const QPointer<QWindow> &window)
{
    constexpr int timeoutMsecs = 1000;
    constexpr unsigned long pollIntervalMsecs = 5;
    QElapsedTimer elapsed;
    elapsed.start();
    while (window && window->isVisible() && !window->isExposed()
           && !elapsed.hasExpired(timeoutMsecs)) {
        QThread::msleep(pollIntervalMsecs);
        QCoreApplication::processEvents();
    }
}

} // namespace

ApplicationController::ApplicationController(UpdaterMode mode, bool debug, bool silent,
                                             const QString &path, QObject *parent)
    : QObject(parent)
    , m_path(path)
    , m_mode(mode)
    , m_debug(debug)
    , m_silent(silent)
    , m_engine(new QQmlApplicationEngine(this))
    , m_installer(new VRKUpdate(this))
    , m_boardUpdater(new AtmegaUpdate(this))
    , m_localeManager(new LocaleManager(this))
{
    if (m_silent)
        m_confirmationVisible = false;
    setUpTranslation();
    initQml();
    // By name: the checked form is newer than Qt 5.9.
    QMetaObject::invokeMethod(this, "init", Qt::QueuedConnection);
    connectWorkers();
    qInfo() << "ApplicationController::ApplicationController init with mode: "
            << static_cast<int>(m_mode) << " Path:" << m_path;
}

ApplicationController::~ApplicationController()
{
    m_settings->sync();
    m_settings.reset();
    endWorker(m_boardUpdater);
    endWorker(m_installer);
    // The screen goes before what its bindings read.
    delete m_engine;
}

void ApplicationController::connectWorkers()
{
    connect(m_installer, &VRKUpdate::progressChanged, this, &ApplicationController::setProgress);
    connect(m_boardUpdater, &AtmegaUpdate::progressChanged, this,
            &ApplicationController::setProgress);
    connect(m_installer, &VRKUpdate::resultReady, this,
            &ApplicationController::onVRKUpdateFinished);
    connect(m_boardUpdater, &AtmegaUpdate::resultReady, this,
            &ApplicationController::onAtmegaUpdateFinished);
}

/// Processes the pending events, then repaints the screen, which Qt would otherwise leave to a
/// later turn. The caller has a HeldInput meanwhile: an answer must not start the update inside it.
void ApplicationController::drawScreen()
{
    QCoreApplication::processEvents();
    const QWindowList shown = QGuiApplication::topLevelWindows();
    const std::vector<QPointer<QWindow>> windows(shown.cbegin(), shown.cend());
    for (const QPointer<QWindow> &window : windows) {
        awaitExposure(window);
        if (window)
            QCoreApplication::postEvent(window, new QEvent(QEvent::UpdateRequest));
    }
    QCoreApplication::processEvents();
}
