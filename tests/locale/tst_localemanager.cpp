#include "language.h"
#include "localemanager.h"
#include "messagelog.h"
#include "privatefolders.h"

#include <QDir>
#include <QMetaEnum>
#include <QSet>
#include <QSignalSpy>
#include <QtTest>

namespace {

QString translated(const char *text)
{
    return QCoreApplication::translate("ApplicationController", text);
}

QString translatedReboot()
{
    return translated("Reboot");
}

QString s_noPrivateFolders;

} // namespace

class LocaleManagerTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void localeCodes();
    void everyStoredNumberHasItsOwnTranslation();
    void changesAreSignalledOnce();
    void missingTranslationIsReportedAndSet();
    void translatorLeavesWithItsManager();
};

void LocaleManagerTest::initTestCase()
{
    // On an ARM processor the translations are looked for where the instrument has them.
    const QString built = QCoreApplication::applicationDirPath() + QLatin1String("/translations");
    if (translationDir() == built)
        return;
    if (!s_noPrivateFolders.isEmpty())
        QSKIP(qPrintable(s_noPrivateFolders));
    QVERIFY(QDir().mkpath(translationDir()));
    for (const QString &name : QDir(built).entryList({ QStringLiteral("*.qm") }))
        QVERIFY(QFile::copy(built + QLatin1Char('/') + name,
                            translationDir() + QLatin1Char('/') + name));
}

void LocaleManagerTest::localeCodes()
{
    const QStringList codes =
            QStringLiteral("en de es fr ko zh-CN zh-TW vi pt id uk ru").split(QLatin1Char(' '));
    for (int i = 0; i < codes.size(); ++i)
        QCOMPARE(Language::localeCode(i + 1), codes.at(i));
    for (const int number : { -1, 0, 13 })
        QCOMPARE(Language::localeCode(number), QString());
}

void LocaleManagerTest::everyStoredNumberHasItsOwnTranslation()
{
    const QMetaEnum values = QMetaEnum::fromType<Language::Value>();
    QCOMPARE(values.keyCount(), 12);
    QSet<QString> questions;
    MessageLog log;
    for (int number = 1; number <= values.keyCount(); ++number) {
        LocaleManager manager(nullptr);
        manager.setLanguage(Language::localeCode(number));
        QCOMPARE(manager.language().replace(QLatin1Char('-'), QLatin1Char('_')).toLower(),
                 QString::fromLatin1(values.valueToKey(number)).toLower());
        questions << translated("Are you sure you want to update the system from %1 to %2?");
    }
    QCOMPARE(questions.size(), 12);
    QCOMPARE(log.messages(), QStringList());
}

void LocaleManagerTest::changesAreSignalledOnce()
{
    LocaleManager manager(nullptr);
    QSignalSpy changes(&manager, &LocaleManager::languageChanged);
    manager.setLanguage(QString());
    QCOMPARE(changes.count(), 0);
    manager.setLanguage(QStringLiteral("de"));
    manager.setLanguage(QStringLiteral("de"));
    QCOMPARE(changes.count(), 1);
    QVERIFY(manager.setProperty("language", QStringLiteral("zh-CN")));
    QCOMPARE(changes.count(), 2);
    QCOMPARE(manager.language(), QStringLiteral("zh-CN"));
    QCOMPARE(manager.property("emptyString"), QVariant(QString()));
}

void LocaleManagerTest::missingTranslationIsReportedAndSet()
{
    LocaleManager manager(nullptr);
    manager.setLanguage(QStringLiteral("ru"));
    QVERIFY(translatedReboot() != QLatin1String("Reboot"));
    QSignalSpy changes(&manager, &LocaleManager::languageChanged);
    MessageLog log;
    manager.setLanguage(QStringLiteral("is"));
    QCOMPARE(log.messages(),
             QStringList(QStringLiteral(
                     "warning: Could not load translations for vrk-updater and language \"is\"")));
    QCOMPARE(changes.count(), 1);
    QCOMPARE(manager.language(), QStringLiteral("is"));
    QCOMPARE(translatedReboot(), QStringLiteral("Reboot"));
}

void LocaleManagerTest::translatorLeavesWithItsManager()
{
    {
        LocaleManager manager(nullptr);
        manager.setLanguage(QStringLiteral("ru"));
    }
    QCOMPARE(translatedReboot(), QStringLiteral("Reboot"));
}

int main(int argc, char **argv)
{
    s_noPrivateFolders = enterPrivateFolders({ QStringLiteral("/usr/local/share") });
    QCoreApplication application(argc, argv);
    LocaleManagerTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_localemanager.moc"
