import QtQuick

// Visible on any picture because it is both white and black.
Rectangle {
    property Item control

    visible: control.activeFocus
    color: "transparent"
    border { width: 1; color: "black" }
    radius: 3

    Rectangle {
        anchors { fill: parent; margins: 0.5 }
        color: "transparent"
        border { width: 2; color: "white" }
        radius: 2.5
    }
}
