import QtQuick 2.9
import QtQuick.Window 2.2
import QtQuick.Controls 2.2 as QQC2
import "Zentar/Components"

/*
 * The updater's only screen: a view of _appController, which hands over its texts translated
 * and takes the operator's three decisions.
 */
Window {
    id: root

    // The control that takes the keyboard focus next, and the frames until then: keys that were
    // pressed before it was seen come first, and must not press it.
    property Item nextFocus: null
    property int framesToFocus: 0

    function giveFocus(control) {
        nextFocus = control
        framesToFocus = 2
        update()
    }

    // A hidden item keeps the keyboard focus, and Return would go on pressing it unseen.
    function dropFocus() {
        nextFocus = null
        background.focus = true
        background.focus = false
    }

    visible: true
    minimumWidth: 800
    minimumHeight: 480

    // Runs before the platform creates the window. Without a window manager the platform never
    // reports the size it chose then, and everything sized by the window's height would have none.
    onVisibleChanged: {
        width = Math.max(width, minimumWidth)
        height = Math.max(height, minimumHeight)
    }

    onAfterAnimating: {
        if (nextFocus === null)
            return
        framesToFocus -= 1
        if (framesToFocus > 0) {
            update()
        } else {
            nextFocus.forceActiveFocus()
            nextFocus = null
        }
    }

    RadialBackground {
        id: background

        anchors.fill: parent
    }

    Label {
        id: powerMessage

        anchors.horizontalCenter: parent.horizontalCenter
        anchors.top: parent.top
        anchors.topMargin: 140
        text: _appController.instructionsText
        font: Style.fontHeader
        fontSize: FontSize.huge
        color: Style.white

        // The window is still hidden while the document loads, when nothing takes the focus.
        onTextChanged: {
            if (root.visible && navigationRow.visible && text !== "")
                root.giveFocus(navigationRow)
        }
    }

    QQC2.ProgressBar {
        id: progressBar

        visible: _appController.isProgressBarVisible
        anchors.verticalCenter: parent.verticalCenter
        anchors.left: parent.left
        anchors.leftMargin: parent.width * 0.2
        anchors.right: parent.right
        anchors.rightMargin: anchors.leftMargin
        height: Window.height * 0.05
        from: 0
        to: 1
        value: _appController.progress
        indeterminate: _appController.isProgressBarIndeterminate

        background: Rectangle {
            color: Style.lightGrey
        }

        contentItem: Item {
            clip: true

            Rectangle {
                visible: !progressBar.indeterminate
                width: progressBar.visualPosition * parent.width
                height: parent.height
                color: Style.green
            }

            Row {
                anchors.fill: parent
                visible: progressBar.indeterminate

                Repeater {
                    model: progressBar.width / 20 + 2

                    Rectangle {
                        width: 20
                        height: progressBar.height
                        color: index % 2 === 0 ? Style.lightGrey : Style.green
                    }
                }

                // Two stripes are one period, so the pattern starts over without a jump.
                XAnimator on x {
                    from: 0
                    to: -40
                    loops: Animation.Infinite
                    running: progressBar.indeterminate
                }
            }
        }

        Behavior on value {
            NumberAnimation {
                duration: _appController.expectedDuration
            }
        }
    }

    YesNoButtonBox {
        id: navigationRow

        visible: _appController.isConfirmationVisible
        anchors.bottom: parent.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        onAccepted: _appController.handleButtonContinue()
        onRejected: _appController.handleButtonCancel()
        onVisibleChanged: {
            if (!visible)
                root.dropFocus()
        }
    }

    NavigationButton {
        id: rebootButton

        visible: _appController.isButtonVisible
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        text: _appController.buttonText
        icon: Style.exitArrowIcon
        onClicked: _appController.handleButtonPress()
        onVisibleChanged: {
            if (visible)
                root.giveFocus(rebootButton)
            else
                root.dropFocus()
        }
    }

    Label {
        id: message

        anchors.horizontalCenter: parent.horizontalCenter
        anchors.bottom: parent.bottom
        anchors.bottomMargin: progressBar.visible ? progressBar.height + Window.height * 0.5
                                                  : Window.height * 0.5
        text: _appController.message
        font: Style.fontHeader
        fontSize: FontSize.huge
        color: Style.white
    }
}
