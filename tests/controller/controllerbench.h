// What the controller's tests share: an instrument's folders, a drive with archives, the records
// of the shared logger, and the screen in one line.
#pragma once

#include "applicationcontroller.h"

#include <QObject>
#include <QStringList>
#include <QTemporaryDir>

#include <functional>
#include <memory>

/// The outcome of a command that exits with 1, as system() says it.
constexpr int failed = 256;

/// Base of the controller's test classes: every test function starts with a fresh fake instrument,
/// recorded system, log and drive, and with the instrument's folders empty.
class ControllerTest : public QObject
{
    Q_OBJECT

public:
    using Controller = ApplicationController;

    static std::unique_ptr<Controller> make(Controller::UpdaterMode mode, bool silent,
                                            const QString &path = QString());

    /// What the operator sees: both texts, then what is visible of the rest.
    static QString screen(const Controller &controller);

    /// The instructions of an interactive update.
    static const QString &pleaseDoNot();

    /// Runs the event loop until it ends or `condition` holds; the loop's status, -1 if it did not
    /// end.
    static int runLoop(const std::function<bool()> &condition = nullptr);

    /// The records of the shared logger since they were cleared, as "SEVERITY text".
    static QStringList &logRecords();

    QString archiveFile(const QString &name = QStringLiteral("zepra_update_v2.tar.gz")) const;
    QString drive() const { return m_drive->path(); }
    QString onDrive(const QString &name) const { return m_drive->filePath(name); }

    static QString firmwareFile(const QString &name);
    static void addFirmware(const QString &name, int ageDays = 0);
    /// Makes what stands at `path`, a link included, as old as that.
    static void makeOlder(const QString &path, int ageDays);

    /// Why there are no folders for this process alone; empty where there are.
    static const QString &missingFolders();
    static void enterFolders();

private slots:
    void initTestCase();
    void init();

private:
    std::unique_ptr<QTemporaryDir> m_drive;
};

int runControllerTest(ControllerTest *test, int argc, char **argv);
