import QtQuick
import QtQuick.Controls
import OstrelEditor

/// A clickable icon for an action: its name and shortcut stand in the tooltip, and, while it cannot
/// be used, why. The item is as large as the icon; the area that reacts is a little larger.
Item {
    id: root

    required property Action action
    required property url icon
    property string disabledReason: ""

    readonly property string shortcutText: String(root.action.shortcut ?? "")
    property int hitMargin: 4

    implicitWidth: image.implicitWidth
    implicitHeight: image.implicitHeight

    Image {
        id: image

        anchors.centerIn: parent
        source: root.icon
        opacity: {
            if (!root.action.enabled)
                return Theme.disabledIconOpacity;
            if (button.pressed)
                return Theme.pressedIconOpacity;
            return hover.hovered ? Theme.hoveredIconOpacity : Theme.normalIconOpacity;
        }
    }

    AbstractButton {
        id: button

        anchors.fill: parent
        anchors.margins: -root.hitMargin
        objectName: root.objectName ? root.objectName + "Button" : ""
        action: root.action
        focusPolicy: Qt.TabFocus
        hoverEnabled: true

        Accessible.role: Accessible.Button
        Accessible.name: root.action.text

        Keys.onReturnPressed: root.action.trigger()
        Keys.onEnterPressed: root.action.trigger()

        background: Rectangle {
            color: "transparent"
            radius: 3
            border.width: button.visualFocus ? 2 : 0
            border.color: button.palette.highlight
        }
    }

    HoverHandler {
        id: hover

        margin: root.hitMargin
    }

    ToolTip.visible: hover.hovered
    ToolTip.delay: 600
    ToolTip.text: {
        if (!root.action.enabled && root.disabledReason)
            return root.disabledReason;
        return root.shortcutText ? qsTr("%1 (%2)").arg(root.action.text).arg(root.shortcutText)
                                 : root.action.text;
    }
}
