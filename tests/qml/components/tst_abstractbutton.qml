import QtQuick 2.9
import QtTest 1.1
import "qrc:/Zentar/Components"

Item {
    id: scene

    property var leftOver: []

    width: 800
    height: 480
    Keys.onPressed: leftOver.push(event.key)

    AbstractButton {
        id: button

        property var heard: []

        width: 200
        height: 48
        eastFocus: neighbour
        onClicked: heard.push("clicked " + (mouse.key === undefined ? mouse.x : mouse.key))
        onPressAndHold: heard.push("pressAndHold " + mouse.x)
        onReleased: heard.push("released " + mouse.x)
        onKnobClockwise: heard.push("knobClockwise")
        onKnobCounterClockwise: heard.push("knobCounterClockwise")
    }

    Item { id: neighbour }

    ComponentTest {
        name: "AbstractButton"

        readonly property var selection: button.children[0]

        function init() {
            scene.leftOver = []
            button.heard = []
            button.enabled = true
            button.forceActiveFocus()
        }

        function test_keys_data() {
            return [
                { tag: "Return", key: Qt.Key_Return, heard: ["clicked " + Qt.Key_Return], leftOver: [] },
                { tag: "H", key: Qt.Key_H, heard: ["knobCounterClockwise"], leftOver: [] },
                { tag: "L", key: Qt.Key_L, heard: ["knobClockwise"], leftOver: [] },
                { tag: "Enter", key: Qt.Key_Enter, heard: [], leftOver: [Qt.Key_Enter] },
                { tag: "Space", key: Qt.Key_Space, heard: [], leftOver: [Qt.Key_Space] }
            ]
        }

        function test_keys(data) {
            keyClick(data.key)
            compare(button.heard, data.heard)
            compare(scene.leftOver, data.leftOver)
        }

        function test_arrowKeyStillMovesTheFocus() {
            keyClick(Qt.Key_Right)
            verify(neighbour.activeFocus)
            compare(button.heard, [])
        }

        function test_click() {
            mouseClick(button, 30, 10)
            compare(button.heard, ["released 30", "clicked 30"])
        }

        function test_longPressDoesNotClick() {
            mousePress(button, 30, 10)
            tryCompare(button.heard, "length", 1, 3000)
            mouseRelease(button, 30, 10)
            compare(button.heard, ["pressAndHold 30", "released 30"])
        }

        function test_disabledHearsNothing() {
            button.enabled = false
            mouseClick(button)
            keyClick(Qt.Key_Return)
            compare(button.heard, [])
            verify(!button.activeFocus)
        }

        function test_colorFillsTheBackground() {
            verify(Qt.colorEqual(button.color, "transparent"))
            button.color = "#123456"
            verify(Qt.colorEqual(button.children[1].color, "#123456"))
            verify(Qt.colorEqual(selection.color, "transparent"))
        }

        function test_focusFrame() {
            compare(selection.border.width, 4)
            verify(Qt.colorEqual(selection.border.color, "#ffff00"))
            verify(selection.z > 1)
            neighbour.forceActiveFocus()
            compare(selection.border.width, 0)
        }
    }
}
