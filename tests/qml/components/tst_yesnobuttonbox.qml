import QtQuick 2.9
import QtTest 1.1
import "qrc:/Zentar/Components"

Item {
    id: scene

    property var leftOver: []

    width: 800
    height: 480
    Keys.onPressed: leftOver.push(event.key)

    Item { id: elsewhere }
    Item { id: nowhere }

    Component {
        id: boxComponent

        YesNoButtonBox {
            property var heard: []

            width: 800
            onAccepted: heard.push("accepted")
            onRejected: heard.push("rejected")
        }
    }

    ComponentTest {
        name: "YesNoButtonBox"

        property var box
        property var yes
        property var no

        function init() {
            scene.leftOver = []
            box = createTemporaryObject(boxComponent, scene)
            yes = box.children[0].children[0]
            no = box.children[0].children[1]
            waitForRendering(box)
        }

        function test_layout() {
            compare(box.height, 48)
            compare(yes.height, 48)
            fuzzyCompare(yes.width, no.width, 1)
            compare(yes.mapToItem(box, 0, 0).x, 0)
            compare(no.mapToItem(box, no.width, 0).x, 800)
        }

        function test_focusEntry_data() {
            return [
                { tag: "both enabled", yesEnabled: true, answer: "accepted" },
                { tag: "yes disabled", yesEnabled: false, answer: "rejected" }
            ]
        }

        function test_focusEntry(data) {
            box.yesEnabled = data.yesEnabled
            compare(box.lastFocus, null)
            box.forceActiveFocus()
            verify((data.yesEnabled ? yes : no).activeFocus)
            keyClick(Qt.Key_Return)
            compare(box.heard, [data.answer])
        }

        function test_focusComesBackToLastFocus_data() {
            return [
                { tag: "from no", from: "no", keys: [], back: "no" },
                { tag: "from yes, past no", from: "no", keys: [Qt.Key_Left], back: "yes" },
                { tag: "from no, past yes", from: "yes", keys: [Qt.Key_Right], back: "no" }
            ]
        }

        function test_focusComesBackToLastFocus(data) {
            var buttons = { yes: yes, no: no }
            buttons[data.from].forceActiveFocus()
            data.keys.forEach(function (key) { keyClick(key) })
            elsewhere.forceActiveFocus()
            verify(box.lastFocus === buttons[data.back])
            box.forceActiveFocus()
            verify(buttons[data.back].activeFocus)
        }

        function test_navigation_data() {
            return [
                { tag: "right on yes", from: "yes", key: Qt.Key_Right, to: "no" },
                { tag: "left on no", from: "no", key: Qt.Key_Left, to: "yes" },
                { tag: "left on yes", from: "yes", key: Qt.Key_Left, to: "yes" },
                { tag: "right on no", from: "no", key: Qt.Key_Right, to: "no" },
                { tag: "down on yes", from: "yes", key: Qt.Key_Down, to: "yes" },
                { tag: "down on no", from: "no", key: Qt.Key_Down, to: "no" },
                { tag: "right, no disabled", from: "yes", key: Qt.Key_Right, to: "yes", disabled: "no" },
                { tag: "left, yes disabled", from: "no", key: Qt.Key_Left, to: "no", disabled: "yes" }
            ]
        }

        function test_navigation(data) {
            if (data.disabled === "yes")
                box.yesEnabled = false
            if (data.disabled === "no")
                box.noEnabled = false
            var buttons = { yes: yes, no: no }
            buttons[data.from].forceActiveFocus()
            keyClick(data.key)
            verify(buttons[data.to].activeFocus)
            compare(scene.leftOver, [])
        }

        function test_up_data() {
            return [
                { tag: "yes", answer: "yes", north: "northFocus" },
                { tag: "no", answer: "no", north: "northFocus" },
                { tag: "yes, own neighbour", answer: "yes", north: "northYesFocus", other: "northNoFocus" },
                { tag: "no, own neighbour", answer: "no", north: "northNoFocus", other: "northYesFocus" }
            ]
        }

        function test_up(data) {
            var button = data.answer === "yes" ? yes : no
            button.forceActiveFocus()
            keyClick(Qt.Key_Up)
            verify(button.activeFocus)
            compare(scene.leftOver, [Qt.Key_Up])

            box[data.north] = elsewhere
            if (data.other)
                box[data.other] = nowhere
            keyClick(Qt.Key_Up)
            verify(elsewhere.activeFocus)
            compare(scene.leftOver, [Qt.Key_Up])
        }

        function test_click_data() {
            return [{ tag: "left half", x: 200, answer: "accepted" },
                    { tag: "right half", x: 600, answer: "rejected" }]
        }

        function test_click(data) {
            mouseClick(box, data.x, 24)
            compare(box.heard, [data.answer])
        }
    }
}
