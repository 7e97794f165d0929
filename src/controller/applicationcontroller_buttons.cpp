// The operator's three answers.
#include "applicationcontroller.h"

#include "heldinput.h"

#include <QCoreApplication>

void ApplicationController::handleButtonContinue()
{
    setConfirmationVisible(false);
    setMessage(tr("Welcome to updater"));
    showBusyBar();
    if (m_mode == UPDATE_ZEPRA)
        startUpdate();
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
    new HeldInput(this); // what the operator does from here on answers nothing any more
    drawScreen();
}
