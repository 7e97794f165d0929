import QtQuick 2.9

/*
 * An item from which the arrow keys move the keyboard focus to its neighbours. A key without
 * a neighbour is left to the parent items.
 */
Item {
    id: root

    property Item northFocus: null
    property Item southFocus: null
    property Item eastFocus: null
    property Item westFocus: null

    Keys.onPressed: {
        var target = null
        switch (event.key) {
        case Qt.Key_Up:
            target = northFocus
            break
        case Qt.Key_Down:
            target = southFocus
            break
        case Qt.Key_Left:
            target = westFocus
            break
        case Qt.Key_Right:
            target = eastFocus
            break
        }
        if (target === null)
            return

        target.focus = true
        target.forceActiveFocus()
        event.accepted = true
    }
}
