#include "settings.h"

#include <QFileInfo>
#include <QSettings>

#include <plog/Log.h>

#include <limits>

namespace substitute {

namespace {

struct Key {
    const char *name;
    QVariant standard; ///< of the type that a value has to have
    int least = std::numeric_limits<int>::min();
    int most = std::numeric_limits<int>::max();
};

constexpr int mostFlashBytes = 1024 * 1024;

const Key keys[] = {
    { "instrument/system_version", QLatin1String("1.0.0") },
    { "instrument/system_version_file", QLatin1String("") },
    { "instrument/initialize_result", 0 },
    { "instrument/initialize_ms", 200, 0, 60000 },
    { "instrument/status_result", 0 },
    { "instrument/device_info_result", 0 },
    { "board/connected", true },
    { "board/version", QLatin1String("1.00") },
    { "board/flash_result", 0 },
    { "board/page_bytes", 256, 1, mostFlashBytes },
    { "board/page_ms", 30, 0, 10000 },
    { "board/flash_bytes", 256 * 1024, 1, mostFlashBytes },
    { "state/file", QLatin1String("/var/lib/vrk-embedded-api/board.ini") },
};

bool isPossible(const QVariant &value, const Key &key)
{
    const QString text = value.toString();
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
    switch (key.standard.type()) {
    case QVariant::Int: return isNumber && number >= key.least && number <= key.most;
    case QVariant::Bool: return text == QLatin1String("true") || text == QLatin1String("false");
    default: return value.type() == QVariant::String; // a bare comma makes a list
    }
}

} // namespace

Settings::Settings()
{
    for (const Key &key : keys)
        m_values.insert(QLatin1String(key.name), key.standard);

    const QString named = QString::fromLocal8Bit(qgetenv("VRK_EMBEDDED_API_INI"));
    const QString path = named.isEmpty() ? QStringLiteral("/etc/vrk-embedded-api.ini") : named;
    const QFileInfo info(path);
    if (named.isEmpty() && !info.exists())
        return;
    if (!info.isFile() || !info.isReadable()) {
        LOG_WARNING << qUtf8Printable(path) << ": cannot be read, the defaults hold";
        return;
    }
    LOG_DEBUG << qUtf8Printable(path) << ": holds the settings";
    QSettings file(path, QSettings::IniFormat);
    file.setIniCodec("UTF-8");
    QStringList unused = file.allKeys();
    for (const Key &key : keys) {
        const QVariant value = file.value(QLatin1String(key.name));
        if (isPossible(value, key)) {
            m_values.insert(QLatin1String(key.name), value);
            unused.removeOne(QLatin1String(key.name));
        }
    }
    for (const QString &key : unused)
        LOG_WARNING << qUtf8Printable(path) << ": " << qUtf8Printable(key)
                    << " is not a key, or its value is not possible";
    LOG_WARNING_IF(file.status() != QSettings::NoError)
            << qUtf8Printable(path) << ": not every line is a section or a key";
}

} // namespace substitute
