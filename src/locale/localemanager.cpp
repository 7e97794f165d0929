#include "localemanager.h"

#include <QCoreApplication>
#include <QDebug>
#include <QLocale>
#include <QSysInfo>
#include <QTranslator>

QString translationDir()
{
    if (QSysInfo::currentCpuArchitecture().startsWith(QLatin1String("arm")))
        return QStringLiteral("/usr/local/share/zentar/translations");
    return QCoreApplication::applicationDirPath() + QLatin1String("/translations");
}

LocaleManager::LocaleManager(QObject *parent)
    : QObject(parent)
    , m_translator(new QTranslator(this))
{
    QCoreApplication::installTranslator(m_translator);
    setLanguage(QString());
}

QString LocaleManager::language() const
{
    return m_language;
}

QString LocaleManager::emptyString() const
{
    return {};
}

void LocaleManager::setLanguage(const QString &language)
{
    if (language == m_language)
        return;
    if (!m_translator->load(QLocale(language), QStringLiteral("vrk-updater"), QStringLiteral("_"),
                            translationDir())) {
        qWarning() << "Could not load translations for vrk-updater and language" << language;
    }
    m_language = language;
    emit languageChanged();
}
