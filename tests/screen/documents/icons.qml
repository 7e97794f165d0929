import QtQuick 2.9
import QtQuick.Window 2.2
import "qrc:/Zentar/Components"

/* The icons of the buttons: in their own size at the left, in buttons below, the last two disabled. */
Window {
    visible: true
    width: 800
    height: 480
    color: "black"

    Image {
        source: "qrc:/images/icon_accept.png"
    }

    Image {
        x: 200
        source: "qrc:/images/icon_discard.png"
    }

    Image {
        x: 400
        source: "qrc:/images/icon_exitArrow.png"
    }

    YesNoButtonBox {
        y: 200
        width: 800
    }

    YesNoButtonBox {
        y: 300
        width: 800
        yesEnabled: false
        noEnabled: false
    }

    NavigationButton {
        y: 400
        width: 400
        iconCenter: "qrc:/images/icon_accept.png"
    }

    NavigationButton {
        x: 400
        y: 400
        width: 400
        enabled: false
        iconCenter: "qrc:/images/icon_accept.png"
    }
}
