#pragma once

#include <QString>
#include <QThread>

/// Worker thread that writes a firmware file into the measurement board. The object lives on the
/// main thread; both signals are emitted from other threads.
class AtmegaUpdate : public QThread
{
    Q_OBJECT

public:
    explicit AtmegaUpdate(QObject *parent);

    /// Fraction of the flash that is done, as the library last reported it; not while the thread
    /// runs.
    double progress() const;

public slots:
    /// Names the Intel HEX file (absolute path) for the next run; not while the thread runs.
    void setImagePath(const QString &imagePath);

    /// Takes over the fraction of the flash that is done and reports a change. Called on the
    /// worker thread and, while a flash lasts, on a thread of the library's choosing.
    void setProgress(double progress);

signals:
    /// `progress` is a tenth of the flash's fraction, unbounded if the library's counts are;
    /// `expectedDurationMsecs` the time over which the screen moves to it.
    void progressChanged(double progress, int expectedDurationMsecs);

    /// The outcome of a run, emitted once at its end; true when the board has the new firmware.
    void resultReady(bool result);

protected:
    void run() override;

private:
    bool flash();

    QString m_imagePath;
    double m_progress = 0.0;
};
