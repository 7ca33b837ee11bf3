import QtQuick
import QtQuick.Controls
import OstrelEditor

/// A text field in a bar of the editor.
TextField {
    id: root

    required property string hint

    implicitHeight: Theme.barControlHeight
    padding: 4
    placeholderText: hint
    placeholderTextColor: palette.midlight
    selectByMouse: true
    color: palette.windowText

    Accessible.name: hint

    background: Rectangle {
        color: root.palette.base
        border.width: root.activeFocus ? 2 : 1
        border.color: root.activeFocus ? Theme.focusColor : root.palette.mid
    }
}
