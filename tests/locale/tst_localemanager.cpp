#include "fakeinstrument.h"
#include "language.h"
#include "localemanager.h"
#include "messagelog.h"

#include <QMetaEnum>
#include <QSignalSpy>
#include <QTranslator>
#include <QtTest>

const char question[] = "Are you sure you want to update the system from %1 to %2?";

class LocaleManagerTest : public QObject
{
    Q_OBJECT

private slots:
    void folderFollowsTheProcessor();
    void languages();
};

void LocaleManagerTest::folderFollowsTheProcessor()
{
    for (const char *name : { "arm", "armv7", "arm64", "ARM", "aarch64", "x-arm", "" }) {
        fakeInstrument().processor = name;
        const QString beside = QCoreApplication::applicationDirPath() + "/translations";
        QCOMPARE(translationDir(), qstrncmp(name, "arm", 3) == 0 ? "/usr/local/share/zentar/translations" : beside);
    }
}

/// Every number, and "eo" for a language that the program does not have.
void LocaleManagerTest::languages()
{
    fakeInstrument().processor = "x86_64";
    const QMetaEnum values = QMetaEnum::fromType<Language::Value>();
    const int count = values.keyCount();
    QCOMPARE(Language::localeCode(-1) + Language::localeCode(0) + Language::localeCode(count + 1), QString());
    const auto text = [] { return QCoreApplication::translate("ApplicationController", question); };
    for (int number = 0; number <= count; ++number) {
        QString name = number == 0 ? "eo" : values.valueToKey(number);
        name.replace(0, 1, name.left(1).toLower());
        const QString code = QString(name).replace('_', '-');
        QVERIFY(number == 0 || Language::localeCode(number) == code);
        QTranslator expected;
        QCOMPARE(expected.load(translationDir() + "/vrk-updater_" + name), number != 0);

        {
            LocaleManager manager(nullptr);
            const QSignalSpy changes(&manager, &LocaleManager::languageChanged);
            manager.setLanguage(QString());
            QCOMPARE(changes.count(), 0);
            manager.setLanguage(code == "ru" ? "de" : "ru"); // gives way to the next
            QVERIFY(text() != question);

            const MessageLog log;
            QVERIFY(manager.setProperty("language", code));
            manager.setLanguage(code);
            QCOMPARE(changes.count(), 2);
            QCOMPARE(manager.language(), code);
            QCOMPARE(text(), number == 0 ? question : expected.translate("ApplicationController", question));
            QCOMPARE(log.take().join('\n'),
                     number != 0 ? "" : "warning: Could not load translations for vrk-updater and language \"eo\"");
            QCOMPARE(manager.property("emptyString"), QVariant(QString()));
        }
        QCOMPARE(text(), QString(question));
    }
}

QTEST_GUILESS_MAIN(LocaleManagerTest)

#include "tst_localemanager.moc"
