import QtQuick

// The content position, with the ad breaks marked. Shows content time only: it does not move while ads play.
Item {
    id: bar

    required property QtObject player
    required property real point
    // Whether it is hidden after a while without input.
    required property bool hides

    readonly property bool shown: !hides || !player.playing || awake.running
    readonly property bool waiting: player.waiting
    readonly property color breakColor: "#f5b301"

    function wake() {
        awake.restart()
    }

    onWaitingChanged: if (waiting) patience.restart()

    height: 30 * point
    opacity: shown ? 1 : 0
    Accessible.role: Accessible.Slider
    Accessible.name: player.time + " / " + player.duration
    Accessible.focusable: true

    Behavior on opacity { NumberAnimation { duration: 200 } }

    Timer {
        id: awake
        interval: 4000
    }

    // A short wait is not shown.
    Timer {
        id: patience
        interval: 1000
    }

    Rectangle {
        anchors.fill: parent
        color: Qt.rgba(0, 0, 0, 0.6)
    }

    Item {
        id: playButton

        x: 5 * bar.point
        width: 20 * bar.point
        height: parent.height

        Canvas {
            anchors.centerIn: parent
            width: 10 * bar.point
            height: 12 * bar.point
            visible: !bar.player.playing
            onPaint: {
                const c = getContext("2d")
                c.reset()
                c.fillStyle = "white"
                c.moveTo(0, 0)
                c.lineTo(width, height / 2)
                c.lineTo(0, height)
                c.fill()
            }
        }

        Row {
            anchors.centerIn: parent
            spacing: 3 * bar.point
            visible: bar.player.playing

            Repeater {
                model: 2
                Rectangle { width: 3 * bar.point; height: 12 * bar.point; color: "white" }
            }
        }

        MouseArea {
            anchors.fill: parent
            onClicked: bar.player.togglePlaying()
        }
    }

    Text {
        id: timeText
        anchors { left: playButton.right; leftMargin: 5 * bar.point; verticalCenter: parent.verticalCenter }
        width: Math.max(implicitWidth, durationText.implicitWidth)
        text: bar.player.time
        color: "white"
        font.pixelSize: 12 * bar.point
    }

    Text {
        id: durationText
        anchors { right: parent.right; rightMargin: 10 * bar.point; verticalCenter: parent.verticalCenter }
        text: bar.player.duration
        color: "white"
        font.pixelSize: 12 * bar.point
    }

    Item {
        id: track

        readonly property real thickness: 4 * bar.point

        anchors {
            left: timeText.right
            right: durationText.left
            leftMargin: 12 * bar.point
            rightMargin: 12 * bar.point
        }
        height: parent.height

        component BarPart: Rectangle {
            anchors.verticalCenter: parent.verticalCenter
            height: track.thickness
            radius: height / 2
        }

        BarPart { width: parent.width; color: Qt.rgba(1, 1, 1, 0.25) }
        BarPart { width: parent.width * Math.max(bar.player.loaded, bar.player.position); color: Qt.rgba(1, 1, 1, 0.3) }
        BarPart { width: parent.width * bar.player.position; color: bar.player.adPlaying ? bar.breakColor : "white" }

        Repeater {
            model: bar.player.breaks

            Rectangle {
                required property real modelData

                x: Math.min(Math.max(0, modelData * track.width - width / 2), track.width - width)
                anchors.verticalCenter: parent.verticalCenter
                width: 3 * bar.point
                height: 10 * bar.point
                radius: bar.point
                color: bar.breakColor
            }
        }

        Rectangle {
            id: knob

            x: bar.player.position * track.width - width / 2
            anchors.verticalCenter: parent.verticalCenter
            width: (bar.activeFocus ? 12 : 8) * bar.point
            height: width
            radius: width / 2
            visible: bar.player.seekable
            color: "white"
            border { width: bar.activeFocus ? 1.5 * bar.point : 0; color: "black" }
        }

        MouseArea {
            anchors.fill: parent
            enabled: bar.player.seekable
            onClicked: mouse => bar.player.seekToShare(mouse.x / track.width)
        }
    }

    // Above the bar: a message for the viewer.
    Rectangle {
        anchors { left: parent.left; leftMargin: 5 * bar.point; bottom: parent.top; bottomMargin: 5 * bar.point }
        width: Math.min(message.implicitWidth + 16 * bar.point, parent.width - 150 * bar.point)
        height: 24 * bar.point
        radius: 3 * bar.point
        visible: message.text !== ""
        color: Qt.rgba(0, 0, 0, 0.6)

        Text {
            id: message
            anchors { fill: parent; leftMargin: 8 * bar.point; rightMargin: 8 * bar.point }
            verticalAlignment: Text.AlignVCenter
            text: bar.player.message !== "" ? bar.player.message : bar.waiting && !patience.running ? "…" : ""
            textFormat: Text.PlainText
            elide: Text.ElideMiddle
            color: "white"
            font.pixelSize: 12 * bar.point
        }
    }
}
