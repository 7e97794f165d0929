import QtQuick 2.9
import QtTest 1.1
import "qrc:/Zentar/Components"

Item {
    width: 800
    height: 480

    NavigationButton { id: bare; width: 400 }
    NavigationButton {
        id: full

        y: 100
        width: 400
        text: "Reboot"
        icon: "qrc:/images/icon_exitMan.png"
        iconCenter: "qrc:/images/icon_left_arrow.png"
    }

    ComponentTest {
        name: "NavigationButton"

        // Behind the frame, the fill and the mouse area of the button it is built on.
        readonly property var parts: ["caption", "image", "imageCenter", "outline",
                                      "desaturate", "desaturateImageCenter"]

        function part(button, name) {
            return button.children[3 + parts.indexOf(name)]
        }

        function test_size() {
            compare(full.height, 48)
            compare(part(full, "image").paintedHeight, 36)
            compare(part(full, "imageCenter").paintedHeight, 36)
            compare(part(full, "image").horizontalAlignment, Image.AlignLeft)
            compare(part(full, "imageCenter").horizontalAlignment, Image.AlignHCenter)
        }

        function test_defaultColours() {
            verify(Qt.colorEqual(bare.outlineColor, "#ffffff"))
            verify(Qt.colorEqual(part(bare, "outline").border.color, "#ffffff"))
            verify(Qt.colorEqual(part(bare, "outline").color, "transparent"))
            verify(Qt.colorEqual(bare.textColor, "#ffffff"))
        }

        function test_iconIsShownThroughTheEffect() {
            compare(part(full, "image").status, Image.Ready)
            verify(!part(full, "image").visible)
            compare(part(full, "desaturate").source, part(full, "image"))
            compare(part(full, "desaturateImageCenter").source, part(full, "imageCenter"))
        }

        function test_withoutIcons() {
            compare(part(bare, "image").status, Image.Null)
            verify(!part(bare, "imageCenter").visible)
            verify(part(full, "imageCenter").visible)
        }

        function test_disabledIsGrey() {
            compare(part(full, "desaturate").desaturation, 0)
            full.enabled = false
            compare(part(full, "desaturate").desaturation, 1)
            compare(part(full, "desaturateImageCenter").desaturation, 1)
            full.enabled = true
            compare(part(full, "desaturateImageCenter").desaturation, 0)
        }

        function test_outlineMarksTheFocus() {
            bare.forceActiveFocus()
            verify(!part(full, "outline").visible)
            full.forceActiveFocus()
            verify(part(full, "outline").visible)
            compare(part(full, "outline").border.width, 2)
            full.outlineColor = Style.blue
            verify(Qt.colorEqual(part(full, "outline").border.color, Style.blue))
        }

        function test_caption() {
            var caption = part(full, "caption")
            compare(caption.text, "Reboot")
            fuzzyCompare(caption.x + caption.width / 2, 200, 0.5)
            fuzzyCompare(caption.y + caption.height / 2, 24, 0.5)
            compare(caption.font.weight, Font.Bold)
            compare(caption.font.family, "Droid Sans")
            full.textColor = Style.yellow
            verify(Qt.colorEqual(caption.color, Style.yellow))
        }
    }
}
