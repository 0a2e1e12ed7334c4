import QtQuick
import org.freedesktop.gstreamer.Qt6GLVideoItem 1.0

// A channel's screen: the picture, and beneath it a strip with a place for the ad's banner.
Rectangle {
    id: root

    required property QtObject pages

    readonly property alias video: picture
    readonly property alias overlayPlace: stage
    readonly property alias bannerPlace: banner

    readonly property real point: Math.max(1, Math.min(width / 640, height / 360))

    color: "#12161c"

    // What makes this item one that can present a page.
    function presentViewController(address) {
        adPage.open(address)
    }

    Item {
        id: stage

        anchors { top: parent.top; bottom: strip.top; horizontalCenter: parent.horizontalCenter }
        width: Math.min(parent.width, height * 16 / 9)
        focus: true

        GstGLQt6VideoItem { id: picture; anchors.fill: parent }
    }

    AdPage {
        id: adPage
        // The overlay's bar, a twelfth of the picture, stays in sight.
        anchors { fill: stage; margins: 16 * root.point; topMargin: stage.height / 12 + 8 * root.point }
        pages: root.pages
        point: root.point
        focusAfterwards: stage
    }

    Item {
        id: strip

        anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
        height: 76 * root.point

        Column {
            anchors { left: parent.left; leftMargin: 16 * root.point; verticalCenter: parent.verticalCenter }
            spacing: 2 * root.point

            Text { text: "Channel One"; color: "white"; font { pixelSize: 16 * root.point; bold: true } }
            Text { text: "Live from the demo"; color: "#9aa7b5"; font.pixelSize: 12 * root.point }
        }

        // 300 by 60 of the document's pixels, one of them a point.
        Image {
            id: banner

            anchors { right: parent.right; rightMargin: 16 * root.point; verticalCenter: parent.verticalCenter }
            width: 300 * root.point
            height: 60 * root.point
            sourceSize: Qt.size(width, height)
            asynchronous: true
        }
    }
}
