import QtQuick 2.9

/*
 * A button for touch, keys and knob that draws only its fill and its focus frame. Return clicks
 * it; the knob's turns arrive as the keys H (counter-clockwise) and L (clockwise).
 */
FocusWidget {
    id: root

    property alias color: background.color

    // The mouse event; for clicked by Return the key event.
    signal clicked(variant mouse)
    signal pressAndHold(variant mouse)
    signal released(variant mouse)
    signal knobClockwise()
    signal knobCounterClockwise()

    Rectangle {
        id: selection

        anchors.fill: parent
        color: Style.transparent
        border.color: Style.yellow
        border.width: root.activeFocus ? 4 : 0
        z: 2
    }

    Rectangle {
        id: background

        anchors.fill: parent
        color: Style.transparent
    }

    MouseArea {
        anchors.fill: parent
        propagateComposedEvents: true
        enabled: true

        onClicked: {
            mouse.accepted = true
            root.clicked(mouse)
        }
        onPressAndHold: {
            mouse.accepted = true
            root.pressAndHold(mouse)
        }
        onReleased: {
            mouse.accepted = true
            root.released(mouse)
        }
    }

    // Runs besides the focus widget's handler, which moves the focus.
    Keys.onPressed: {
        switch (event.key) {
        case Qt.Key_Return:
            event.accepted = true
            // A key held down must not answer a screen that nobody has read yet.
            if (!event.isAutoRepeat)
                root.clicked(event)
            break
        case Qt.Key_H:
            event.accepted = true
            root.knobCounterClockwise()
            break
        case Qt.Key_L:
            event.accepted = true
            root.knobClockwise()
            break
        }
    }
}
