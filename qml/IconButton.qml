import QtQuick
import QtQuick.Templates as T
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

    /// Called instead of bound, so that a tooltip is made for what is pointed at alone.
    function explain(wanted: bool) {
        if (!wanted) {
            T.ToolTip.hide();
            return;
        }
        const name = action.keys ? qsTr("%1 (%2)").arg(action.text).arg(action.keys) : action.text;
        T.ToolTip.delay = Theme.toolTipDelay;
        T.ToolTip.show(whyDisabled || name);
    }

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

    T.AbstractButton {
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
        onHoveredChanged: root.explain(hovered)
    }
}
