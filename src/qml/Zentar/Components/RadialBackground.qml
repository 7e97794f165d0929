import QtGraphicalEffects 1.0
import QtQuick 2.9
import Zentar.Components 1.0

/* A grey glow on black that covers its parent: a square, centred. */
RadialGradient {
    anchors.centerIn: parent
    width: Math.max(parent.height, parent.width)
    height: width

    cached: true
    gradient: Gradient {
        GradientStop { position: 0.0; color: Style.radialGrey }
        GradientStop { position: 0.5; color: Style.black }
    }
}
