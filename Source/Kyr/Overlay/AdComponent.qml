import QtQuick
import Kyr.Overlay

// Laid out in points; the view scales it to the screen.
Item {
    id: look

    required property real buttonWidthHeight
    required property real fontSize
    required property color barColor
    required property bool mirrored

    readonly property alias topComponentContainer: bar
    readonly property alias durationLabel: duration
    readonly property alias learnMoreButton: learnMore
    readonly property alias skipButton: skip

    readonly property real gap: 5

    function accessibleName(text: string): string {
        return text.replace(/\n/g, " ").replace(/[\u21E4\u21E5]/g, "").trim()
    }

    LayoutMirroring.enabled: mirrored
    LayoutMirroring.childrenInherit: true

    Item {
        id: bar

        width: parent.width
        height: Math.min(look.buttonWidthHeight, parent.height)

        Rectangle {
            anchors.fill: parent
            color: look.barColor
        }

        OverlayLabel {
            id: duration

            anchors { left: parent.left; leftMargin: look.gap; verticalCenter: parent.verticalCenter }
            width: Math.max(0, Math.min(durationText.implicitWidth, bar.width - learnMore.width - 3 * look.gap))
            height: parent.height
            Accessible.role: Accessible.StaticText
            Accessible.name: text

            Text {
                id: durationText
                anchors.fill: parent
                text: duration.text
                textFormat: Text.PlainText
                elide: Text.ElideRight
                verticalAlignment: Text.AlignVCenter
                color: "white"
                font.pixelSize: look.fontSize
            }
        }

        OverlayButton {
            id: learnMore

            anchors { right: parent.right; rightMargin: look.gap; verticalCenter: parent.verticalCenter }
            width: Math.ceil(learnMoreText.implicitWidth)
            height: parent.height
            Accessible.role: Accessible.Button
            Accessible.name: look.accessibleName(title)
            Accessible.focusable: visible && enabled
            Accessible.onPressAction: click()

            Text {
                id: learnMoreText
                anchors.centerIn: parent
                text: learnMore.title
                textFormat: Text.PlainText
                color: learnMore.titleColor
                font { pixelSize: look.fontSize; underline: learnMore.titleUnderlined }
            }

            FocusRing {
                control: learnMore
                anchors { fill: parent; margins: 4; leftMargin: -4; rightMargin: -4 }
            }
        }
    }

    OverlayButton {
        id: skip

        anchors {
            right: parent.right
            rightMargin: look.gap
            bottom: parent.bottom
            bottomMargin: look.buttonWidthHeight + look.gap
        }
        width: Math.ceil(skipText.implicitWidth) + 2 * look.gap
        Accessible.role: Accessible.Button
        Accessible.name: look.accessibleName(title)
        Accessible.focusable: visible && enabled
        Accessible.onPressAction: click()

        Rectangle {
            anchors.fill: parent
            color: look.barColor
            border { width: skip.borderWidth; color: Qt.rgba(0.5, 0.5, 0.5, 1) }
        }

        Text {
            id: skipText
            anchors.centerIn: parent
            text: skip.title
            textFormat: Text.PlainText
            maximumLineCount: 2
            horizontalAlignment: Text.AlignHCenter
            // Two lines of any script fit.
            lineHeightMode: Text.FixedHeight
            lineHeight: skip.height / 2
            color: skip.titleColor
            font.pixelSize: look.fontSize
        }

        FocusRing {
            control: skip
            anchors { fill: parent; margins: -4 }
        }
    }
}
