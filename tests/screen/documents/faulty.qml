import QtQuick 2.9
import QtQuick.Window 2.2

/* Faults that the QML engine only complains about. */
Window {
    id: root

    property Item nothing: null

    visible: true

    Text {
        text: _appController.absent
    }

    Text {
        text: root.nothing.width
    }

    Rectangle {
        width: height + 1
        height: width + 1
    }
}
