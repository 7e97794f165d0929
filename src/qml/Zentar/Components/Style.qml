pragma Singleton

import QtQuick 2.9

/* Colours, fonts, proportions and icons of the screen. */
QtObject {
    id: style

    readonly property color darkRed: "#bf2026"
    readonly property color red: "#ed2024"
    readonly property color grey: "#7f7f7f"
    readonly property color green: "#009444"
    readonly property color blue: "#426fb6"
    readonly property color orange: "#FFA500"
    readonly property color yellow: "yellow"
    readonly property color lightYellow: "#ffe698"
    readonly property color white: "#ffffff"
    readonly property color black: "#000000"
    readonly property color transparent: "transparent"
    readonly property color lightGrey: "#d9d9d9"
    readonly property color lightBlue: "#bed7ef"
    readonly property color radialGrey: "#8a8a8a"

    readonly property string fontFamily: "Droid Sans"
    readonly property font fontHeader: Qt.font({ family: fontFamily, weight: Font.Bold })
    readonly property font font: Qt.font({ family: fontFamily })

    // A fraction of the window height.
    readonly property real confirmCancelHeight: 0.1

    // Relative to the document that assigns them to an image.
    readonly property string acceptIcon: "../../images/icon_accept.png"
    readonly property string discardIcon: "../../images/icon_discard.png"
    readonly property string leftArrowIcon: "../../images/icon_left_arrow.png"
    readonly property string exitArrowIcon: "../../images/icon_exitArrow.png"
    readonly property string exitManIcon: "../../images/icon_exitMan.png"
}
