import QtQuick
import QtQuick.Controls
import OstrelEditor

/// A button with a text, whose ring shows on every ground that it has the keyboard.
Button {
    id: root

    background: Rectangle {
        implicitWidth: 100
        implicitHeight: 40
        color: root.down ? root.palette.mid : root.palette.button
        border.color: Theme.focusColor
        border.width: root.visualFocus ? 2 : 0
    }
}
