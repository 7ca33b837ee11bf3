import QtQuick
import OstrelEditor

/// What the bar of the editor says of the shown script: its length, whether the device has it, and
/// which of its characters will not survive the way there.
Column {
    id: root

    required property ScriptEditor editor
    required property DeviceScript deviceScript
    required property int maxLength

    readonly property int length: editor?.length ?? 0
    readonly property int lostCount: editor?.lost.count ?? 0
    readonly property int firstLostLine: editor?.lost.firstLine ?? 0
    readonly property string deviceState: editor ? deviceScript.stateOf(editor.scriptId, editor.text) : ""

    visible: (editor?.scriptId ?? 0) !== 0

    FittingLabel {
        objectName: "stateLine"
        width: parent.width
        color: root.length >= Theme.nearlyFull ? Theme.warningColor : palette.windowText
        full: {
            const count = qsTr("%1 of %2").arg(root.length).arg(root.maxLength);
            return root.deviceState ? qsTr("%1, %2").arg(count).arg(root.deviceState) : count;
        }
        brief: root.deviceState ? qsTr("%1, %2").arg(root.length).arg(root.deviceState) : full
    }

    FittingLabel {
        objectName: "lostLine"
        width: parent.width
        visible: root.lostCount > 0
        color: Theme.warningColor
        full: root.lostCount === 1
            ? qsTr("1 character will not survive (line %1)").arg(root.firstLostLine)
            : qsTr("%1 characters will not survive (line %2)").arg(root.lostCount).arg(root.firstLostLine)
        brief: qsTr("%1 will not survive (line %2)").arg(root.lostCount).arg(root.firstLostLine)
    }
}
