import QtQuick 2.9
import QtQuick.Controls 2.2 as QQC2
import QtQuick.Window 2.2
import Zentar.Components 1.0

/*
 * A text in the screen's font. A user that binds the whole font replaces the family and the
 * size given here.
 */
QQC2.Label {
    id: text

    // Points.
    property int fontSize: FontSize.medium

    // Names and versions from outside may look like markup.
    textFormat: Text.PlainText
    font.family: Style.fontFamily
    font.pointSize: fontSize
}
