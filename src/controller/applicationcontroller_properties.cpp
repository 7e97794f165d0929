// What the screen reads, and the setters behind it.
#include "applicationcontroller.h"

#include "heldinput.h"

#include <QDebug>

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
    if (m_heldInput) // it came before the error, which nobody has read yet
        m_heldInput->discard();
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
