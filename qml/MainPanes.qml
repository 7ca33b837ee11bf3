import QtQuick
import QtQuick.Controls
import OstrelEditor
import Scripts

/// What the window shows below its header: the scripts on the left; the selected one and the
/// message log, divided by a handle, on the right.
Item {
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

    readonly property alias log: messageLogPane
    readonly property string deviceNeededText: qsTr("Connect a device first")

    /// The list grows with the window once the editor has its share of it too.
    readonly property int listWidth: {
        const shares = Theme.listShare + Theme.editorShare;
        const grown = (width - divider.width) * Theme.listShare / shares;
        const least = Math.max(width / 6, scriptListPane.neededWidth, Theme.listWidth);
        return Math.round(Math.min(width / 2, Math.max(least, grown)));
    }

    Connections {
        target: root.actions

        function onFindRequested(replacing: bool) {
            root.find(replacing);
        }

        function onFindAgainRequested(forward: bool) {
            editorPane.findNext(forward);
        }

        function onLineRequested() {
            editorPane.askForLine();
        }

        function onErrorRequested() {
            messageLogPane.showLatestError();
        }

        function onClearRequested() {
            messageLogPane.clear();
        }

        function onZoomRequested(steps: int) {
            if (steps === 0)
                root.zoom = 1;
            else
                root.zoomBy(steps);
        }
    }

    ScriptListPane {
        id: scriptListPane

        width: root.listWidth
        height: parent.height
        model: root.scriptListModel
        actions: root.actions
        namePointSize: root.namePointSize
        heldScriptId: root.deviceScript.scriptId
        deviceNeededText: root.deviceNeededText
        // Nothing is to change behind a question or a window that covers this one.
        takesDrops: !(Overlay.overlay?.visible ?? false)
    }

    Rectangle {
        id: divider

        anchors.left: scriptListPane.right
        width: 15
        height: parent.height
        color: palette.windowText
    }

    SplitView {
        id: split

        anchors.left: divider.right
        anchors.right: parent.right
        height: parent.height
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
