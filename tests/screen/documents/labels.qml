import QtQuick 2.9
import QtQuick.Window 2.2
import "qrc:/Zentar/Components"

/* Labels for the lines of the message on rectangles of their size, to relate ink to edges. */
Window {
    visible: true
    width: 800
    height: 480
    color: "black"

    Column {
        spacing: 20

        Repeater {
            model: _appController.message.split("\n")

            Label {
                text: modelData
                font: Style.fontHeader
                color: Style.white

                background: Rectangle {
                    color: "#0000ff"
                }
            }
        }
    }
}
