#pragma once

#include <QString>
#include <QThread>

/// Worker thread that installs an update archive into the inactive system partition and makes
/// /etc/fstab name it. The partition in use is never written. The object lives on the main thread;
/// both signals are emitted from the worker thread.
///
/// A run that is asked to end (requestInterruption()) does so between two commands, and no longer
/// once /etc/fstab has been switched.
class VRKUpdate : public QThread
{
    Q_OBJECT

public:
    explicit VRKUpdate(QObject *parent);

    /// The last progress reported, a fraction of the whole update; kept from run to run. Not while
    /// the thread runs.
    double progress() const;

    /// Names the archive for the next run; not while the thread runs.
    void setImagePath(const QString &path);

signals:
    /// `progress` is a fraction of the whole update, 0.0 to 1.0; `expectedDurationMsecs` the time
    /// over which the screen moves to it.
    void progressChanged(double progress, int expectedDurationMsecs);

    /// The outcome of a run, its last signal; true only when the new system is installed and
    /// /etc/fstab names it.
    void resultReady(bool result);

protected:
    void run() override;

private slots:
    void setProgress(double progress, int expectedDurationMsecs);

private:
    struct Partitions {
        QString activePartition;
        QString inactivePartition;
    };

    // The steps of a run, in their order. Each logs why it fails.
    bool checkArchive();
    bool runPrepareScript(const QString &archive);
    bool findPartitions(Partitions *partitions);
    bool exchangeMounts(const Partitions &partitions);
    bool fillInactivePartition(const Partitions &partitions, const QString &archive);
    bool runSetupScript();
    bool switchPartitions(const Partitions &partitions);

    bool install();
    bool interrupted() const;
    bool require(const QString &command, const char *failureText) const;
    bool attempt(const QString &command) const;

    QString m_imagePath;
    double m_progress = 0.0;
};
