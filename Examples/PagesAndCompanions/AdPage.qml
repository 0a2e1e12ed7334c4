import QtQuick

// The advertiser's page over the paused picture. A set-top with a web engine puts its view here.
Rectangle {
    id: page

    required property QtObject pages
    required property real point
    required property Item focusAfterwards

    readonly property real gap: 12 * point
    property string address

    function open(url) {
        pages.willOpen()
        address = url
        body.text = ""
        visible = true
        forceActiveFocus()
        load(url)
        pages.didOpen()
    }

    function close() {
        if (!visible) return
        pages.willClose()
        visible = false
        focusAfterwards.forceActiveFocus()
        pages.didClose()
    }

    function load(url) {
        const request = new XMLHttpRequest()
        request.onreadystatechange = () => {
            if (request.readyState !== XMLHttpRequest.DONE || url !== page.address) return
            body.text = request.status === 200 ? request.responseText : "The page could not be loaded."
        }
        request.open("GET", url)
        request.send()
    }

    visible: false
    radius: 4 * point
    color: "#fbfbf8"

    Keys.onReturnPressed: close()
    Keys.onEnterPressed: close()
    Keys.onSelectPressed: close()
    Keys.onEscapePressed: close()
    Keys.onBackPressed: close()

    // It covers the items below it.
    MouseArea { anchors.fill: parent }

    Text {
        anchors { left: parent.left; top: parent.top; right: closeButton.left; margins: page.gap }
        text: page.address
        textFormat: Text.PlainText
        elide: Text.ElideMiddle
        color: "#5b6670"
        font.pixelSize: 12 * page.point
    }

    Rectangle {
        id: closeButton

        anchors { right: parent.right; top: parent.top; margins: 8 * page.point }
        width: closeText.implicitWidth + 16 * page.point
        height: 24 * page.point
        radius: 3 * page.point
        color: "#22303c"

        Text {
            id: closeText
            anchors.centerIn: parent
            text: "Back to the video"
            color: "white"
            font.pixelSize: 12 * page.point
        }
        MouseArea { anchors.fill: parent; onClicked: page.close() }
    }

    Text {
        id: body

        anchors { fill: parent; margins: page.gap; topMargin: 44 * page.point }
        textFormat: Text.RichText
        wrapMode: Text.Wrap
        clip: true
        color: "#1a1f24"
        font.pixelSize: 14 * page.point
    }
}
