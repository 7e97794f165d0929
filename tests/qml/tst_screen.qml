import QtQuick 2.9
import QtTest 1.1
import TestSupport 1.0
import Zentar.Components 1.0

/* What the screen and its components do that no picture shows. The screen finds its controller here. */
TestCase {
    id: test

    property var screen: null
    property var items
    property var heard
    property int framesBeforeFocus
    readonly property string pressed: "press,clicked" + Qt.Key_Return

    name: "Screen"
    when: windowShown

    QtObject {
        id: _appController

        property string instructionsText; property string message; property string buttonText
        property bool isConfirmationVisible; property bool isButtonVisible
        property bool isProgressBarVisible; property bool isProgressBarIndeterminate
        property double progress; property int expectedDuration

        function handleButtonContinue() { heard.push("continue") }
        function handleButtonCancel() { heard.push("cancel") }
        function handleButtonPress() { heard.push("press") }
    }

    Keyboard { id: keyboard }
    SignalSpy { id: frames; target: test.screen; signalName: "afterAnimating" }
    Component { id: labelComponent; Label {} }
    Component { id: backgroundComponent; RadialBackground {} }

    function change(properties) {
        for (var name in properties)
            _appController[name] = properties[name]
    }

    function load(properties) {
        change({ instructionsText: "", isConfirmationVisible: true, isButtonVisible: false,
                 isProgressBarVisible: false, isProgressBarIndeterminate: false })
        change(properties)
        heard = []
        screen = Qt.createComponent("qrc:/main.qml").createObject(null)
        var parts = screen.contentItem.children
        items = { none: screen.contentItem, bar: parts[2], box: parts[3], yes: parts[3].children[0].children[0],
                  no: parts[3].children[0].children[1], button: parts[4],
                  inScope: Qt.createQmlObject("import QtQuick 2.9; FocusScope { Item {} }", parts[5]).children[0] };
        ["pressAndHold", "released", "knobClockwise", "knobCounterClockwise", "clicked"].forEach(function (name) {
            items.button[name].connect(function (event) { heard.push(event ? name + (event.key || event.x) : name) })
        })
        screen.contentItem.Keys.pressed.connect(function () { heard.push("left over") })
        screen.activeFocusItemChanged.connect(function () { framesBeforeFocus = frames.count })
        screen.requestActivate()
        tryCompare(screen, "active", true)
    }

    function drawFrames() {
        frames.clear()
        tryVerify(function () { screen.update(); return frames.count > 2 })
    }

    function cleanup() {
        screen.destroy()
        wait(0)
    }

    function test_focus_data() {
        var question = { instructionsText: "Keep the power on" }, noPair = { isConfirmationVisible: false }
        var button = { isConfirmationVisible: false, isButtonVisible: true }, noButton = { isButtonVisible: false }
        return [
            { tag: "loaded with the question", load: question, then: [], focus: "none", heard: "left over" },
            { tag: "loaded with the button", load: button, then: [], focus: "none", heard: "left over" },
            { tag: "question", load: {}, then: [question], focus: "yes", heard: "continue" },
            { tag: "text without pair", load: noPair, then: [question], focus: "none", heard: "left over" },
            { tag: "no text", load: question, then: [{ instructionsText: "" }], focus: "none", heard: "left over" },
            { tag: "answered", load: {}, then: [question, "frames", noPair], focus: "none", heard: "left over" },
            { tag: "answered at once", load: {}, then: [question, noPair], focus: "none", heard: "left over" },
            { tag: "button", load: {}, then: [question, "frames", button], focus: "button", heard: pressed },
            { tag: "pressed", load: {}, then: [button, "frames", noButton], focus: "none", heard: "left over" },
            { tag: "pressed at once", load: {}, then: [button, noButton], focus: "none", heard: "left over" }
        ]
    }

    function test_focus(data) {
        load(data.load)
        data.then.forEach(function (step) { step === "frames" ? drawFrames() : change(step) })
        frames.clear()
        if (data.focus === "none")
            drawFrames()
        tryVerify(function () { return screen.activeFocusItem === items[data.focus] })
        verify(data.focus === "none" || framesBeforeFocus === 1, "comes with the second frame")
        keyboard.press(Qt.Key_Return)
        compare(heard.join(), data.heard)
    }

    function test_arrowKeys_data() {
        return [
            // From where, to where by Up, Down, Left and Right (empty: the key is left over), what is set.
            ["button", "", "", "", ""],
            ["button", "yes", "no", "bar", "inScope",
             { northFocus: "yes", southFocus: "no", westFocus: "bar", eastFocus: "inScope" }],
            ["yes", "", "yes", "yes", "yes", { noEnabled: false }],
            ["no", "", "no", "no", "no", { yesEnabled: false }],
            ["yes", "button", "yes", "yes", "no", { northFocus: "button" }],
            ["no", "button", "no", "yes", "no", { northFocus: "button" }],
            ["yes", "button", "yes", "yes", "no", { northYesFocus: "button", northNoFocus: "bar" }],
            ["no", "bar", "no", "yes", "no", { northYesFocus: "button", northNoFocus: "bar" }]
        ].map(function (row) { return { tag: JSON.stringify(row), from: row[0], to: row.slice(1, 5), set: row[5] } })
    }

    function test_arrowKeys(data) {
        load({ isButtonVisible: true })
        for (var name in data.set)
            items[data.from === "button" ? "button" : "box"][name] = items[data.set[name]] || data.set[name]
        data.to.forEach(function (target, i) {
            heard = []
            items[data.from].forceActiveFocus()
            keyboard.press([Qt.Key_Up, Qt.Key_Down, Qt.Key_Left, Qt.Key_Right][i], true)
            verify(items[target || data.from].activeFocus, i)
            compare(heard, target ? [] : ["left over"])
        })
    }

    function test_keys_data() {
        return [
            // Which items get the focus in turn, or are disabled (-); the key, or the repeat (*) of one held down.
            ["button", "Return", pressed],
            ["button", "Return*", ""],
            ["button", "H*", "knobCounterClockwise"],
            ["button", "L", "knobClockwise"],
            ["button", "Enter", "left over"],
            ["button", "Space", "left over"],
            ["box", "Return", "continue"],
            ["button -button", "Return", "left over"],
            ["-yes box", "Return", "cancel"],
            ["no button box", "Return", "cancel"],
            ["no yes button box", "Return", "continue"],
            ["yes no button box", "Return", "cancel"]
        ].map(function (row) { return { tag: row.join(), focus: row[0].split(" "), key: row[1], heard: row[2] } })
    }

    function test_keys(data) {
        load({ isButtonVisible: true })
        data.focus.forEach(function (name) {
            name[0] === "-" ? items[name.slice(1)].enabled = false : items[name].forceActiveFocus()
        })
        keyboard.press(Qt["Key_" + data.key.replace("*", "")], /\*/.test(data.key))
        compare(heard.join(), data.heard)
    }

    // The pair lies below the button.
    function test_touch() {
        load({ isButtonVisible: true })
        mouseClick(items.button, 30, 10)
        mousePress(items.button, 40, 10)
        tryVerify(function () { return heard.length === 4 })
        mouseRelease(items.button, 40, 10)
        items.button.enabled = false
        mouseClick(items.button, 600, 10)
        compare(heard, ["released30", "press", "clicked30", "pressAndHold40", "released40", "cancel"])
    }

    // Steadily, from the value shown, for the expected duration.
    function test_barMovement() {
        load({ isProgressBarVisible: true, expectedDuration: 1000, progress: 0.25 })
        change({ expectedDuration: 100000, progress: 1 })
        var start = Date.now()
        wait(300)
        tryVerify(function () {
            var part = (items.bar.value - 0.25) / 0.75 / ((Date.now() - start) / 100000)
            return part > 0.9 && part < 1.05
        })
        change({ expectedDuration: 0, progress: 0.5 })
        var fill = items.bar.contentItem.children[0], stripes = items.bar.contentItem.children[1]
        compare([fill.width, fill.visible, stripes.visible], [240, true, false])
        wait(100)
        frames.clear()
        wait(100)
        compare(frames.count, 0) // nothing moves unseen
        change({ isProgressBarIndeterminate: true })
        compare([stripes.children.length, fill.visible, stripes.visible], [26 + 1, false, true]) // and their repeater
        compare([String(stripes.children[0].color), String(stripes.children[25].color)], ["#d9d9d9", "#009444"])
        tryCompare(stripes.children[25], "x", 25 * 20)
    }

    function test_values() {
        load({ isButtonVisible: true, buttonText: "Restart" })
        var values = { color: "#123456", textColor: "#abcdef", outlineColor: "#fedcba",
                       icon: "qrc:/images/icon_left_arrow.png", iconCenter: "qrc:/images/icon_exitMan.png" }
        for (var name in values)
            items.button[name] = values[name]
        items.button.forceActiveFocus()
        items.no.enabled = false
        var parts = items.button.children
        var table = [
            [Style, { darkRed: "#bf2026", red: "#ed2024", grey: "#7f7f7f", green: "#009444", blue: "#426fb6",
                      orange: "#ffa500", yellow: "#ffff00", lightYellow: "#ffe698", white: "#ffffff", black: "#000000",
                      transparent: "#00000000", lightGrey: "#d9d9d9", lightBlue: "#bed7ef", radialGrey: "#8a8a8a",
                      "fontHeader.bold": true, "font.family": "Droid Sans", "font.bold": false,
                      leftArrowIcon: "../../images/icon_left_arrow.png",
                      exitManIcon: "../../images/icon_exitMan.png" }],
            [FontSize, { small: 10, medium: 12, xMedium: 16, xxMedium: 19, large: 24, xLarge: 32, huge: 50 }],
            [createTemporaryObject(labelComponent, test), { "font.pointSize": 12, "font.family": "Droid Sans",
                                                              textFormat: Text.PlainText }],
            [createTemporaryObject(labelComponent, test, { fontSize: 50 }), { "font.pointSize": 50 }],
            [createTemporaryObject(backgroundComponent, screen.contentItem),
             { cached: true, width: 800, height: 800, x: 0, y: -160 }],
            [items.yes, { color: "#00000000", textColor: "#ffffff", outlineColor: "#ffffff" }],
            // Frame, fill, mouse area, caption, icon, icon in the middle, outline, their grey versions.
            [items.yes.children, { "4.visible": false, "5.visible": false, "6.visible": false, "7.desaturation": 0 }],
            [items.no.children, { "7.desaturation": 1, "8.desaturation": 1 }],
            [parts, { "1.color": "#123456", "2.propagateComposedEvents": true, "3.color": "#abcdef",
                      "3.text": "Restart", "3.font.bold": true, "5.visible": true, "5.x": 6, "5.width": 788,
                      "5.height": 36, "5.fillMode": Image.PreserveAspectFit, "5.horizontalAlignment": Image.AlignHCenter,
                      "6.visible": true, "6.border.width": 2, "6.border.color": "#fedcba", "6.color": "#00000000",
                      "6.width": 800, "6.height": 48, "8.desaturation": 0, "8.source": parts[5], "8.width": 788 }]
        ]
        table.forEach(function (row) {
            for (var path in row[1]) {
                var value = path.split(".").reduce(function (object, name) { return object[name] }, row[0])
                compare(String(value), String(row[1][path]), path)
            }
        })
    }
}
