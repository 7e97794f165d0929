// The controller as a model: its construction and destruction, what the screen reads, and the
// setters behind it.
#include "applicationcontroller.h"

#include "atmegaupdate.h"
#include "heldinput.h"
#include "localemanager.h"
#include "vrkupdate.h"

#include <QDebug>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QSettings>
#include <QThread>
#include <QWindow>

namespace {

/// Lets a worker finish what must not be cut short, then deletes it.
void endWorker(QThread *worker)
{
    worker->requestInterruption();
    worker->wait();
    delete worker;
}

/// Gives the display a second to show a new window, which cannot be drawn before.
void awaitExposure(const QWindow *window)
{
    constexpr int timeoutMsecs = 1000;
    constexpr unsigned long pollIntervalMsecs = 5;
    QElapsedTimer elapsed;
    elapsed.start();
    while (window->isVisible() && !window->isExposed() && !elapsed.hasExpired(timeoutMsecs)) {
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

QString ApplicationController::instructionsText() const
{
    return m_instructionsText;
}

QString ApplicationController::message() const
{
    return m_message;
}

QString ApplicationController::buttonText() const
{
    return m_buttonText;
}

bool ApplicationController::isSilent() const
{
    return m_silent;
}

bool ApplicationController::isConfirmationVisible() const
{
    return m_confirmationVisible;
}

bool ApplicationController::isProgressBarVisible() const
{
    return m_progressBarVisible;
}

bool ApplicationController::isProgressBarIndeterminate() const
{
    return m_progressBarIndeterminate;
}

bool ApplicationController::isButtonVisible() const
{
    return m_buttonVisible;
}

double ApplicationController::progress() const
{
    return m_progress;
}

int ApplicationController::expectedDuration() const
{
    return m_expectedDuration;
}

int ApplicationController::exitCode() const
{
    return m_exitCode;
}

void ApplicationController::setInstructionsText(const QString &text)
{
    if (text == m_instructionsText)
        return;
    m_instructionsText = text;
    emit instructionsTextChanged();
}

void ApplicationController::setMessage(const QString &message)
{
    if (message == m_message)
        return;
    m_message = message;
    emit messageChanged();
}

void ApplicationController::setButtonText(const QString &text)
{
    if (text == m_buttonText)
        return;
    m_buttonText = text;
    emit buttonTextChanged();
}

void ApplicationController::setConfirmationVisible(bool visible)
{
    if (visible == m_confirmationVisible)
        return;
    m_confirmationVisible = visible;
    emit confirmationVisibleChanged();
}

void ApplicationController::setProgressBarVisible(bool visible)
{
    if (visible == m_progressBarVisible)
        return;
    m_progressBarVisible = visible;
    emit progressBarVisibleChanged();
}

void ApplicationController::setProgressBarIndeterminate(bool indeterminate)
{
    if (indeterminate == m_progressBarIndeterminate)
        return;
    m_progressBarIndeterminate = indeterminate;
    emit progressBarIndeterminateChanged();
}

void ApplicationController::setButtonVisible(bool visible)
{
    if (visible == m_buttonVisible)
        return;
    m_buttonVisible = visible;
    emit buttonVisibleChanged();
}

void ApplicationController::setExitCode(int exitCode)
{
    m_exitCode = exitCode;
}

void ApplicationController::setVRKInitialized(bool initialized)
{
    m_vrkInitialized = initialized;
}

bool ApplicationController::isVRKInitialized() const
{
    return m_vrkInitialized;
}

/// Processes the pending events once, then repaints the screen, which Qt would otherwise leave to a
/// later turn. The operator's input waits for that later turn: an answer must not start the update
/// inside the caller.
void ApplicationController::drawScreen()
{
    const HeldInput heldInput;
    QCoreApplication::processEvents();
    for (QWindow *window : QGuiApplication::topLevelWindows()) {
        awaitExposure(window);
        QCoreApplication::postEvent(window, new QEvent(QEvent::UpdateRequest));
    }
    QCoreApplication::processEvents();
}

void ApplicationController::showBusyBar()
{
    setProgressBarVisible(true);
    setProgressBarIndeterminate(true);
}

void ApplicationController::setError(const QString &message, ExitCode code)
{
    setConfirmationVisible(false);
    setMessage(message);
    setButtonVisible(true);
    setProgressBarVisible(false);
    setExitCode(code);
}

void ApplicationController::setProgress(double progress, int expectedDurationMsecs)
{
    // The duration goes first: the screen moves to the new value with it.
    if (expectedDurationMsecs != m_expectedDuration) {
        m_expectedDuration = expectedDurationMsecs;
        emit expectedDurationChanged();
    }
    if (m_progress >= progress)
        return;
    m_progress = progress;
    qWarning() << "Progress update:" << m_progress;
    emit progressChanged();
}
