#pragma once

#include "vrk-embedded-api.h"

#include <QObject>
#include <QPointer>
#include <QString>

#include <memory>
#include <string>

class AtmegaUpdate;
class HeldInput;
class LocaleManager;
class QQmlApplicationEngine;
class QSettings;
class VRKUpdate;

/// Everything the screen shows and everything the operator can do; walks through one update.
/// Created, used and destroyed on the main thread. Destruction waits for a worker that still runs:
/// the installer ends after its current command, or with its last step once /etc/fstab is switched;
/// a flash is always finished.
class ApplicationController : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString instructionsText READ instructionsText NOTIFY instructionsTextChanged)
    Q_PROPERTY(QString message READ message NOTIFY messageChanged)
    Q_PROPERTY(QString buttonText READ buttonText NOTIFY buttonTextChanged)
    Q_PROPERTY(bool isSilent READ isSilent)
    Q_PROPERTY(
            bool isConfirmationVisible READ isConfirmationVisible NOTIFY confirmationVisibleChanged)
    Q_PROPERTY(bool isProgressBarVisible READ isProgressBarVisible NOTIFY progressBarVisibleChanged)
    Q_PROPERTY(bool isProgressBarIndeterminate READ isProgressBarIndeterminate NOTIFY
                       progressBarIndeterminateChanged)
    Q_PROPERTY(bool isButtonVisible READ isButtonVisible NOTIFY buttonVisibleChanged)
    Q_PROPERTY(double progress READ progress NOTIFY progressChanged)
    Q_PROPERTY(int expectedDuration READ expectedDuration NOTIFY expectedDurationChanged)

public:
    enum UpdaterMode {
        UPDATE_ZEPRA, ///< install the archive named on the command line
        DISPLAY_ERROR, ///< only show an error: no archive was named
    };
    Q_ENUM(UpdaterMode)

    enum ExitCode {
        EXIT_OK = 0,
    };

    /// Loads the screen and queues the start-up work for the first turn of the event loop.
    ApplicationController(UpdaterMode mode, bool debug, bool silent, const QString &path,
                          QObject *parent);
    ~ApplicationController() override;

    QString instructionsText() const;
    QString message() const;
    QString buttonText() const;
    bool isSilent() const;
    bool isConfirmationVisible() const;
    bool isProgressBarVisible() const;
    bool isProgressBarIndeterminate() const;
    bool isButtonVisible() const;

    /// Overall progress, 0.0 to 1.0, or more while a board's library counts beyond its total; never
    /// falls.
    double progress() const;

    /// Milliseconds over which the screen moves to a new progress value.
    int expectedDuration() const;

    /// Status with which the action button ends the event loop.
    int exitCode() const;

    /// The bytes of `fileName` between its first `prefix` and its first `suffix`; empty when one
    /// is missing or the suffix does not stand behind the prefix. Respects letter case.
    static std::string ExtractVersionFromFilename(const std::string &fileName,
                                                  const std::string &prefix,
                                                  const std::string &suffix);

    /// The operator's no: ends the event loop with 0.
    Q_INVOKABLE void handleButtonCancel();
    /// The operator's yes: starts the update.
    Q_INVOKABLE void handleButtonContinue();
    /// The action button: ends the event loop with exitCode().
    Q_INVOKABLE void handleButtonPress();

signals:
    void messageChanged();
    void confirmationVisibleChanged();
    void instructionsTextChanged();
    void buttonTextChanged();
    void progressBarVisibleChanged();
    void progressBarIndeterminateChanged();
    void progressChanged();
    void buttonVisibleChanged();
    void expectedDurationChanged();

private slots:
    void init();
    void onAtmegaUpdateFinished(bool result);
    void onVRKUpdateFinished(bool result);

private:
    void setUpTranslation();
    void initQml();
    void connectWorkers();
    void startUp();
    bool initVRK();
    bool connectToBackend() const;
    QString readDeviceInfo();
    VRK_ResultCode readStatus();
    void askForConfirmation(const QString &systemVersion);
    static void statusCallback(void *context, VRK_ResultCode code, const char *text);
    void handleStatusMessage(VRK_ResultCode code, const char *text);

    void startUpdate();
    bool testArchive();
    void showLeaving(const QString &message);
    void showBusyBar();
    void drawScreen();

    void setInstructionsText(const QString &text);
    void setMessage(const QString &message);
    void setButtonText(const QString &text);
    void setConfirmationVisible(bool visible);
    void setProgressBarVisible(bool visible);
    void setProgressBarIndeterminate(bool indeterminate);
    void setButtonVisible(bool visible);
    void setExitCode(int exitCode);
    void setVRKInitialized(bool initialized);
    bool isVRKInitialized() const;
    void setError(const QString &message, ExitCode code);
    void setProgress(double progress, int expectedDurationMsecs);

    const QString m_path;
    const UpdaterMode m_mode;
    const bool m_debug;
    const bool m_silent;
    std::string m_atmegaVersion;
    QQmlApplicationEngine *m_engine;
    QString m_instructionsText;
    QString m_message;
    QString m_buttonText;
    bool m_confirmationVisible = true;
    bool m_vrkInitialized = false;
    bool m_progressBarVisible = false;
    bool m_progressBarIndeterminate = false;
    bool m_buttonVisible = false;
    bool m_boardConnected = false;
    double m_progress = 0.0;
    int m_expectedDuration = 1000;
    int m_exitCode = EXIT_OK;
    VRKUpdate *m_installer;
    AtmegaUpdate *m_boardUpdater;
    std::unique_ptr<QSettings> m_settings;
    LocaleManager *m_localeManager;
    QPointer<HeldInput> m_heldInput; ///< of the start-up
};
