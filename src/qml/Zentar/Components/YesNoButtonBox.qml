import QtQuick 2.9
import QtQuick.Window 2.2
import QtQuick.Layouts 1.3
import Zentar.Components 1.0
// The module import hides the directory from newer Qt 5 releases; the base types are not in the qmldir.
import "."

/*
 * The answer to a question: yes (accept) on the left, no (discard) on the right. The keyboard
 * focus goes to the button that had it last. The user gives the width.
 */
FocusWidget {
    id: root

    signal accepted()
    signal rejected()

    height: Window.height * Style.confirmCancelHeight

    // Where Up moves the focus.
    property Item northFocus
    property Item northNoFocus: northFocus
    property Item northYesFocus: northFocus

    // The button that takes the focus when the box gets it.
    property Item lastFocus: null

    property alias yesEnabled: yesButton.enabled
    property alias noEnabled: noButton.enabled

    onActiveFocusChanged: {
        if (!activeFocus)
            return

        if (lastFocus === null)
            lastFocus = yesEnabled ? yesButton : noButton
        lastFocus.focus = true
    }

    RowLayout {
        id: layout

        anchors.fill: parent

        NavigationButton {
            id: yesButton

            icon: Style.acceptIcon
            iconHorizontalAlignment: Qt.AlignHCenter
            Layout.fillWidth: true
            Layout.fillHeight: true
            eastFocus: noEnabled ? noButton : yesButton
            westFocus: yesButton
            northFocus: root.northYesFocus
            southFocus: yesButton
            onClicked: root.accepted()
            onFocusChanged: lastFocus = yesButton
        }

        NavigationButton {
            id: noButton

            icon: Style.discardIcon
            iconHorizontalAlignment: Qt.AlignHCenter
            Layout.fillWidth: true
            Layout.fillHeight: true
            eastFocus: noButton
            westFocus: yesEnabled ? yesButton : noButton
            northFocus: root.northNoFocus
            southFocus: noButton
            onClicked: root.rejected()
            onFocusChanged: lastFocus = noButton
        }
    }
}
