import QtQuick 2.9
import QtTest 1.1
import "qrc:/Zentar/Components"

Item {
    id: scene

    property var leftOver: []

    width: 800
    height: 480
    Keys.onPressed: leftOver.push(event.key)

    Item { id: north }
    Item { id: south }
    Item { id: east }
    Item { id: west }

    FocusWidget { id: connected; northFocus: north; southFocus: south; eastFocus: east; westFocus: west }
    FocusWidget { id: alone }
    FocusWidget { id: toItself; westFocus: toItself }

    ComponentTest {
        name: "FocusWidget"

        function init() {
            scene.leftOver = []
        }

        function test_arrowKeys_data() {
            return [
                { tag: "up", from: connected, key: Qt.Key_Up, to: north, consumed: true },
                { tag: "down", from: connected, key: Qt.Key_Down, to: south, consumed: true },
                { tag: "right", from: connected, key: Qt.Key_Right, to: east, consumed: true },
                { tag: "left", from: connected, key: Qt.Key_Left, to: west, consumed: true },
                { tag: "other key", from: connected, key: Qt.Key_A, to: connected, consumed: false },
                { tag: "no neighbour", from: alone, key: Qt.Key_Up, to: alone, consumed: false },
                { tag: "itself", from: toItself, key: Qt.Key_Left, to: toItself, consumed: true }
            ]
        }

        function test_arrowKeys(data) {
            data.from.forceActiveFocus()
            keyClick(data.key)
            verify(data.to.activeFocus)
            compare(scene.leftOver, data.consumed ? [] : [data.key])
        }
    }
}
