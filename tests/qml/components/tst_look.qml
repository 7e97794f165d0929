import QtQuick 2.9
import QtTest 1.1
import Zentar.Components 1.0

Item {
    width: 800
    height: 480

    RadialBackground { id: glow }
    Label { id: plain; text: "0123456789" }
    Label { id: header; text: "0123456789"; font: Style.fontHeader; fontSize: FontSize.huge }

    ComponentTest {
        name: "Look"

        function test_backgroundIsACentredSquare() {
            compare(glow.width, 800)
            compare(glow.height, 800)
            compare(glow.y, -160)
        }

        function test_backgroundGlow() {
            verify(glow.cached)
            compare(glow.gradient.stops.length, 2)
            compare(glow.gradient.stops[0].position, 0)
            verify(Qt.colorEqual(glow.gradient.stops[0].color, "#8a8a8a"))
            compare(glow.gradient.stops[1].position, 0.5)
            verify(Qt.colorEqual(glow.gradient.stops[1].color, "#000000"))
        }

        function test_colours_data() {
            return [
                { tag: "green", value: "#009444" },
                { tag: "yellow", value: "#ffff00" },
                { tag: "white", value: "#ffffff" },
                { tag: "black", value: "#000000" },
                { tag: "transparent", value: "#00000000" },
                { tag: "lightGrey", value: "#d9d9d9" },
                { tag: "radialGrey", value: "#8a8a8a" }
            ]
        }

        function test_colours(data) {
            verify(Qt.colorEqual(Style[data.tag], data.value), Style[data.tag])
        }

        function test_fontSizes() {
            var sizes = { small: 10, medium: 12, xMedium: 16, xxMedium: 19, large: 24, xLarge: 32, huge: 50 }
            for (var name in sizes)
                compare(FontSize[name], sizes[name], name)
        }

        function test_labelSize() {
            compare(plain.font.family, "Droid Sans")
            compare(plain.font.pointSize, 12)
            plain.fontSize = FontSize.huge
            compare(plain.font.pointSize, 50)
        }

        // A bound font replaces the label's own size by the one that Controls hand down.
        function test_boundFontKeepsTheSizeOfTheControls() {
            compare(header.font.weight, Font.Bold)
            compare(header.font.pixelSize, Qt.application.font.pixelSize)
        }

        function test_icons_data() {
            var rows = []
            var icons = ["acceptIcon", "discardIcon", "leftArrowIcon", "exitArrowIcon", "exitManIcon"]
            var documents = ["qrc:/main.qml", "qrc:/Zentar/Components/YesNoButtonBox.qml"]
            icons.forEach(function (icon) {
                documents.forEach(function (document) {
                    rows.push({ tag: icon + " from " + document, icon: icon, document: document })
                })
            })
            return rows
        }

        // The root document and the module's own lead to the same files.
        function test_icons(data) {
            var image = Qt.createQmlObject(
                'import QtQuick 2.9; Image { source: "' + Style[data.icon] + '" }', glow, data.document)
            compare(image.status, Image.Ready)
            image.destroy()
        }
    }
}
