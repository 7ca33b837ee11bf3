import QtQuick
import QtQuick.Controls

/// The scroll indicator of the combo box's list. What shows it and what fades the content are bound
/// to the combo box, not to the indicator. A combo box has neither a size nor an active state, so
/// the indicator stays out of sight and the combo box's text is never faded; keep it so.
ScrollIndicator {
    id: root

    required property ComboBox comboBox
    readonly property var boxSize: root.comboBox["size"] // qmllint disable
    readonly property bool boxActive: root.comboBox["active"] === true // qmllint disable

    contentItem: Rectangle {
        implicitWidth: 2
        implicitHeight: 2
        color: root.comboBox.palette.base
        visible: root.boxSize < 1.0
        opacity: 0.0
    }

    states: State {
        name: "active"
        when: root.boxActive

        PropertyChanges {
            root.comboBox.contentItem.opacity: 0.75
        }
    }

    transitions: Transition {
        from: "active"

        SequentialAnimation {
            PauseAnimation {
                duration: 450
            }
            NumberAnimation {
                target: root.comboBox.contentItem
                property: "opacity"
                to: 0.0
                duration: 200
            }
        }
    }
}
