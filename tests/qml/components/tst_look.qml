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

        function test_labelSize() {
            compare(plain.font.family, "Droid Sans")
            compare(plain.font.pointSize, 12)
            plain.fontSize = FontSize.huge
            compare(plain.font.pointSize, 50)
        }

        // The question fits an 800 pixel window only at the size that Controls hand down.
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
