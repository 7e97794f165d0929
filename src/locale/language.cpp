#include "language.h"

QString Language::localeCode(int number)
{
    switch (number) {
    case En: return QStringLiteral("en");
    case De: return QStringLiteral("de");
    case Es: return QStringLiteral("es");
    case Fr: return QStringLiteral("fr");
    case Ko: return QStringLiteral("ko");
    case Zh_CN: return QStringLiteral("zh-CN");
    case Zh_TW: return QStringLiteral("zh-TW");
    case Vi: return QStringLiteral("vi");
    case Pt: return QStringLiteral("pt");
    case Id: return QStringLiteral("id");
    case Uk: return QStringLiteral("uk");
    case Ru: return QStringLiteral("ru");
    default: return {};
    }
}
