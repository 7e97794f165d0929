pragma Singleton

import QtQuick 2.9

/* Text sizes in points. */
QtObject {
    property int small: 10
    property int medium: 12
    property int xMedium: 16
    property int xxMedium: 19
    property int large: 24
    property int xLarge: 32
    property int huge: 50
}
