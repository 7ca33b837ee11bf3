import QtQuick
import QtQuick.Controls
import OstrelEditor

/// A button in a bar of the editor, which may stay down. Its tooltip says what it does.
Button {
    id: root

    required property string explanation

    implicitWidth: Math.max(Theme.barControlHeight, contentItem.implicitWidth + 12)
    implicitHeight: Theme.barControlHeight
    padding: 2
    focusPolicy: Qt.TabFocus

    Accessible.name: explanation
    ToolTip.visible: hovered
    ToolTip.delay: Theme.toolTipDelay
    ToolTip.text: explanation

    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    background: Rectangle {
        radius: 2
        color: root.checked ? root.palette.highlight : root.palette.button
        opacity: root.hovered || root.down ? 1 : Theme.hoveredIconOpacity
        border.width: root.visualFocus ? 2 : 0
        border.color: Theme.focusColor
    }
}
