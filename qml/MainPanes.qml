import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import OstrelEditor
import Scripts

/// What the window shows below its header: the scripts on the left; the selected one and the
/// message log, divided by a handle, on the right.
RowLayout {
    id: root

    required property WindowActions actions
    required property ScriptListModel scriptListModel
    required property font scriptFont ///< before zoom
    required property int namePointSize
    required property DeviceScript deviceScript
    required property int maxScriptLength

    readonly property real minZoom: 0.5
    readonly property real maxZoom: 3
    readonly property int minLogHeight: 150
    property real zoom: 1 ///< of the editor, its numbers, the log and the notes of scripts on offer
    property real logHeight: minLogHeight ///< at the start
    readonly property font zoomedFont: Qt.font({
        family: scriptFont.family,
        bold: scriptFont.bold,
        pointSize: Math.round(scriptFont.pointSize * zoom)
    })

    function zoomBy(steps: int) {
        zoom = Math.max(minZoom, Math.min(maxZoom, Math.round(zoom * 10 + steps) / 10));
    }

    readonly property alias scripts: scriptListPane
    readonly property alias editor: editorPane.editor

    /// Where the list has the keyboard, the scripts are looked through, and else the shown one.
    function find(replacing: bool) {
        if (scriptListPane.list.activeFocus && !replacing)
            scriptListPane.startFiltering();
        else
            editorPane.find(replacing);
    }

    function findNext(forward: bool) {
        editorPane.findNext(forward);
    }

    function askForLine() {
        editorPane.askForLine();
    }

    readonly property alias log: messageLogPane
    readonly property string deviceNeededText: qsTr("Connect a device first")

    spacing: 0

    ScriptListPane {
        id: scriptListPane

        Layout.fillWidth: true
        Layout.fillHeight: true
        Layout.minimumWidth: Math.max(root.width / 6, Math.min(scriptListPane.neededWidth, root.width / 2))
        Layout.preferredWidth: Theme.listWidth
        Layout.maximumWidth: root.width / 2
        model: root.scriptListModel
        actions: root.actions
        namePointSize: root.namePointSize
        heldScriptId: root.deviceScript.scriptId
        deviceNeededText: root.deviceNeededText
    }

    Rectangle {
        Layout.fillHeight: true
        implicitWidth: 15
        color: palette.windowText
    }

    SplitView {
        id: split

        Layout.fillWidth: true
        Layout.fillHeight: true
        Layout.preferredWidth: Theme.listWidth * Theme.editorShare / Theme.listShare
        orientation: Qt.Vertical

        handle: PaneHandle {}

        WheelHandler {
            acceptedModifiers: Qt.ControlModifier
            onWheel: event => root.zoomBy(event.angleDelta.y > 0 ? 1 : -1)
        }

        EditorPane {
            id: editorPane

            SplitView.fillHeight: true
            SplitView.minimumHeight: 2 * Theme.paneBarHeight
            actions: root.actions
            scriptFont: root.zoomedFont
            zoom: root.zoom
            deviceScript: root.deviceScript
            maxLength: root.maxScriptLength
            deviceNeededText: root.deviceNeededText
        }

        MessageLogPane {
            id: messageLogPane

            SplitView.minimumHeight: root.minLogHeight
            SplitView.preferredHeight: root.logHeight
            actions: root.actions
            zoom: root.zoom
        }
    }
}
