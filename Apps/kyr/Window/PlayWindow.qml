import QtQuick
import org.freedesktop.gstreamer.Qt6GLVideoItem 1.0

// The picture, the transport bar over its lower edge, and above both the place for the ad overlay.
Item {
    id: root

    required property QtObject player

    readonly property alias video: picture
    readonly property alias stage: overlayPlace

    // The unit of all measures, so that the layout is the same on every screen; the overlay uses the same unit.
    readonly property real point: Math.max(1, Math.min(width / 640, height / 360))
    readonly property bool fullScreen: Window.visibility === Window.FullScreen

    // An ad's page is not opened here; its URL is shown while the ad is paused.
    function presentViewController(address) {
        player.showPage(address)
    }

    Keys.onPressed: event => {
        transport.wake()
        event.accepted = player.press(event.key, event.isAutoRepeat)
    }

    GstGLQt6VideoItem {
        id: picture
        anchors.fill: parent
        visible: !root.player.pictureHidden
    }

    MouseArea {
        anchors.fill: parent
        hoverEnabled: true
        cursorShape: pointerMoved.running ? Qt.ArrowCursor : Qt.BlankCursor
        onPositionChanged: {
            pointerMoved.restart()
            transport.wake()
        }
        onClicked: root.player.togglePlaying()
        onDoubleClicked: root.player.press(Qt.Key_F, false)
    }

    Timer {
        id: pointerMoved
        interval: 4000
    }

    TransportBar {
        id: transport

        anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
        player: root.player
        point: root.point
        hides: root.fullScreen
        focus: true
    }

    Item {
        id: overlayPlace
        anchors.fill: parent
    }
}
