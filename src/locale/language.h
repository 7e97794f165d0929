#pragma once

#include <QObject>
#include <QString>

/// The languages of the instrument, by the numbers that its settings file stores.
class Language
{
    Q_GADGET

public:
    enum Value {
        En = 1,
        De,
        Es,
        Fr,
        Ko,
        Zh_CN,
        Zh_TW,
        Vi,
        Pt,
        Id,
        Uk,
        Ru,
    };
    Q_ENUM(Value)

    /// The locale code of a stored number, for example "zh-CN" for 6; empty for a number that
    /// stands for no language.
    static QString localeCode(int number);
};
