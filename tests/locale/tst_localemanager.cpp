#include "fakeinstrument.h"
#include "language.h"
#include "localemanager.h"
#include "messagelog.h"

#include <QMetaEnum>
#include <QSignalSpy>
#include <QTranslator>
#include <QtTest>

class LocaleManagerTest : public QObject
{
    Q_OBJECT

private slots:
    void folderFollowsTheProcessor();
    void languages_data();
    void languages();
};

void LocaleManagerTest::folderFollowsTheProcessor()
{
    for (const char *name : { "arm", "armv7", "arm64", "ARM", "aarch64", "x86_64", "" }) {
        fakeInstrument().processor = name;
        QCOMPARE(translationDir(),
                 qstrncmp(name, "arm", 3) == 0 ? "/usr/local/share/zentar/translations"
                                               : QCoreApplication::applicationDirPath() + "/translations");
    }
}

void LocaleManagerTest::languages_data()
{
    QTest::addColumn<int>("number"); // in the settings, 0 for none
    const char *const codes[] = { "is", "en", "de", "es", "fr", "ko", "zh-CN", "zh-TW", "vi", "pt", "id", "uk", "ru" };
    for (int number = 0; number <= 12; ++number)
        QTest::newRow(codes[number]) << number;
    for (const int none : { -1, 0, 13 })
        QCOMPARE(Language::localeCode(none), QString());
    QCOMPARE(QMetaEnum::fromType<Language::Value>().keyCount(), 12);
}

void LocaleManagerTest::languages()
{
    QFETCH(int, number);
    const QString code = QTest::currentDataTag();
    const QString name = QString(code).replace('-', '_');
    const QString key = QMetaEnum::fromType<Language::Value>().valueToKey(number);
    QCOMPARE(Language::localeCode(number), number == 0 ? QString() : code);
    QCOMPARE(key.toLower(), number == 0 ? QString() : name.toLower());

    QTranslator expected;
    const QString file = "/translations/vrk-updater_" + name;
    QCOMPARE(expected.load(QCoreApplication::applicationDirPath() + file), number != 0);
    const char *const question = "Are you sure you want to update the system from %1 to %2?";
    const QString translation = expected.translate("ApplicationController", question);

    const auto text = [=] { return QCoreApplication::translate("ApplicationController", question); };
    {
        LocaleManager manager(nullptr);
        QSignalSpy changes(&manager, &LocaleManager::languageChanged);
        manager.setLanguage(QString());
        QCOMPARE(changes.count(), 0);
        manager.setLanguage(number == 12 ? "de" : "ru"); // gives way to the next
        QVERIFY(text() != question);

        const MessageLog log;
        QVERIFY(manager.setProperty("language", code));
        manager.setLanguage(code);
        QCOMPARE(changes.count(), 2);
        QCOMPARE(manager.language(), code);
        QCOMPARE(text(), number == 0 ? question : translation);
        QCOMPARE(log.take(),
                 number != 0 ? QStringList()
                             : QStringList("warning: Could not load translations for vrk-updater "
                                           "and language \"is\""));
        QCOMPARE(manager.property("emptyString"), QVariant(QString()));
    }
    QCOMPARE(text(), QString(question));
}

QTEST_GUILESS_MAIN(LocaleManagerTest)

#include "tst_localemanager.moc"
