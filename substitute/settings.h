// What the substitute does.
#pragma once

#include "vrk-embedded-api.h"

#include <QVariantMap>

namespace substitute {

class Settings
{
public:
    /// Reads "/etc/vrk-embedded-api.ini", or the file that the environment variable
    /// VRK_EMBEDDED_API_INI names. What is wrong in it is logged and keeps its default.
    Settings();

    /// The value of one of the keys of README.md, as "section/key".
    QVariant operator[](const char *key) const { return m_values[QLatin1String(key)]; }
    VRK_ResultCode result(const char *key) const { return VRK_ResultCode { (*this)[key].toInt() }; }

private:
    QVariantMap m_values;
};

} // namespace substitute
