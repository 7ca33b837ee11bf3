import QtQuick
import OstrelEditor

/// Lies over what it is put into and shows where the keyboard goes.
Rectangle {
    property bool shown: parent?.activeFocus ?? false

    anchors.fill: parent
    visible: shown
    color: "transparent"
    border.width: 1
    border.color: Theme.focusColor
}
