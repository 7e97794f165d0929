#pragma once

#include <QObject>
#include <QString>

class QTranslator;

/// Folder of the compiled translations: the instrument's own on an ARM processor, otherwise
/// "translations" beside the executable.
QString translationDir();

/// Holds the language of the user interface and the one translator that speaks it. Lives on the
/// main thread.
class LocaleManager : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString language READ language WRITE setLanguage NOTIFY languageChanged)
    Q_PROPERTY(QString emptyString READ emptyString NOTIFY languageChanged)

public:
    /// Installs an empty translator in the application.
    explicit LocaleManager(QObject *parent);

    /// The locale code last set, for example "zh-CN"; empty until one is set.
    QString language() const;

    /// Always empty. A binding that appends it to a translated text follows a language change.
    QString emptyString() const;

    /// Loads the translation for a locale code. Where there is none a warning is logged, the
    /// texts stay as written in the program, and the language counts as set all the same.
    Q_INVOKABLE void setLanguage(const QString &language);

signals:
    void languageChanged();

private:
    QString m_language;
    QTranslator *m_translator;
};
