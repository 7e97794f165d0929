// Stands in for the controller: the properties and calls that the screen knows, set by the test.
#pragma once

#include <QObject>
#include <QStringList>

#include <functional>

class StubController : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString instructionsText MEMBER instructionsText NOTIFY instructionsTextChanged)
    Q_PROPERTY(QString message MEMBER message NOTIFY messageChanged)
    Q_PROPERTY(QString buttonText MEMBER buttonText NOTIFY buttonTextChanged)
    Q_PROPERTY(
            bool isConfirmationVisible MEMBER confirmationVisible NOTIFY confirmationVisibleChanged)
    Q_PROPERTY(bool isProgressBarVisible MEMBER progressBarVisible NOTIFY progressBarVisibleChanged)
    Q_PROPERTY(bool isProgressBarIndeterminate MEMBER progressBarIndeterminate NOTIFY
                       progressBarIndeterminateChanged)
    Q_PROPERTY(bool isButtonVisible MEMBER buttonVisible NOTIFY buttonVisibleChanged)
    Q_PROPERTY(double progress MEMBER progress NOTIFY progressChanged)
    Q_PROPERTY(int expectedDuration MEMBER expectedDuration NOTIFY expectedDurationChanged)

public:
    using QObject::QObject;

    QString instructionsText;
    QString message;
    QString buttonText = QStringLiteral("Reboot");
    bool confirmationVisible = true;
    bool progressBarVisible = false;
    bool progressBarIndeterminate = false;
    bool buttonVisible = false;
    double progress = 0.0;
    int expectedDuration = 1000;

    QStringList calls;
    std::function<void()> onCall; ///< what the controller does about a call

    Q_INVOKABLE void handleButtonCancel() { note("cancel"); }
    Q_INVOKABLE void handleButtonContinue() { note("continue"); }
    Q_INVOKABLE void handleButtonPress() { note("press"); }

signals:
    void instructionsTextChanged();
    void messageChanged();
    void buttonTextChanged();
    void confirmationVisibleChanged();
    void progressBarVisibleChanged();
    void progressBarIndeterminateChanged();
    void buttonVisibleChanged();
    void progressChanged();
    void expectedDurationChanged();

private:
    void note(const char *call)
    {
        calls << QString::fromLatin1(call);
        if (onCall)
            onCall();
    }
};
