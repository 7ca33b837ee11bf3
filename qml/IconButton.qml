import QtQuick
import QtQuick.Controls
import OstrelEditor

/// A clickable icon for an action: its name and shortcut stand in the tooltip, and, while it cannot
/// be used, why. The item is as large as the icon; the area that reacts is a little larger.
Item {
    id: root

    required property ShortcutAction action
    required property url icon
    property string disabledReason: ""

    readonly property string whyDisabled: action.enabled ? "" : disabledReason

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
        Accessible.description: root.whyDisabled

        /// With Ctrl the key means something else, even where that cannot be done.
        function pressBy(event: var) {
            event.accepted = !(event.modifiers & Qt.ControlModifier);
            if (event.accepted)
                root.action.trigger();
        }

        Keys.onReturnPressed: event => pressBy(event)
        Keys.onEnterPressed: event => pressBy(event)

        background: Rectangle {
            color: "transparent"
            radius: 3
            border.width: button.visualFocus ? 2 : 0
            border.color: Theme.focusColor
        }
    }

    HoverHandler {
        id: hover

        margin: root.hitMargin
    }

    ToolTip.visible: hover.hovered
    ToolTip.delay: 600
    ToolTip.text: {
        if (root.whyDisabled)
            return root.whyDisabled;
        return root.action.keys ? qsTr("%1 (%2)").arg(root.action.text).arg(root.action.keys)
                                : root.action.text;
    }
}
