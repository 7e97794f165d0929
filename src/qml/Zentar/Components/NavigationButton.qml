import QtQuick 2.9
import QtQuick.Window 2.2
import QtGraphicalEffects 1.0
import Zentar.Components 1.0
// The module import hides the directory from newer Qt 5 releases; the base types are not in the qmldir.
import "."

/*
 * A button at the foot of the screen: a caption, an icon at one end and one in the middle. The
 * icons are grey while it is disabled; a double frame marks the keyboard focus. The user
 * gives the width.
 */
AbstractButton {
    id: root

    height: Window.height * Style.confirmCancelHeight

    property color outlineColor: Style.white
    property alias text: caption.text
    property alias icon: image.source
    property alias iconCenter: imageCenter.source
    property alias iconHorizontalAlignment: image.horizontalAlignment
    property alias textColor: caption.color

    Label {
        id: caption

        anchors.centerIn: parent
        font: Style.fontHeader
        fontSize: FontSize.medium
        color: Style.white
    }

    // Shown through desaturate.
    Image {
        id: image

        anchors.fill: parent
        anchors.margins: 6
        fillMode: Image.PreserveAspectFit
        horizontalAlignment: Qt.AlignLeft
        visible: false
    }

    Image {
        id: imageCenter

        anchors.fill: parent
        anchors.margins: 6
        fillMode: Image.PreserveAspectFit
        horizontalAlignment: Qt.AlignHCenter
        visible: source != ""
    }

    Rectangle {
        id: outline

        anchors.fill: parent
        color: Style.transparent
        border.width: 2
        border.color: root.outlineColor
        visible: root.activeFocus
    }

    Desaturate {
        id: desaturate

        anchors.fill: image
        source: image
        desaturation: root.enabled ? 0 : 1
    }

    Desaturate {
        id: desaturateImageCenter

        anchors.fill: imageCenter
        source: imageCenter
        desaturation: root.enabled ? 0 : 1
    }
}
