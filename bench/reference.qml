import QtQuick 2.9
import QtQuick.Window 2.2
import "qrc:/Zentar/Components"

/*
 * A window with the movements of the updater's bar and nothing else, to measure against; the message
 * "background" adds the updater's background.
 */
Window {
    visible: true
    width: 800
    height: 480
    color: "black"

    RadialBackground {
        anchors.fill: parent
        visible: _appController.message === "background"
    }

    Item {
        x: 160
        y: 228
        width: 480
        height: 24
        clip: true

        Row {
            visible: _appController.isProgressBarIndeterminate

            Repeater {
                model: 26

                Rectangle {
                    width: 20
                    height: 24
                    color: index % 2 === 0 ? "#d9d9d9" : "#009444"
                }
            }

            XAnimator on x {
                from: 0
                to: -40
                loops: Animation.Infinite
                running: _appController.isProgressBarIndeterminate
            }
        }

        Rectangle {
            visible: !_appController.isProgressBarIndeterminate
            width: 480 * _appController.progress
            height: 24
            color: "#009444"

            Behavior on width {
                NumberAnimation {
                    duration: _appController.expectedDuration
                }
            }
        }
    }
}
