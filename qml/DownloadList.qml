pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls
import OstrelEditor
import Scripts

/// The scripts that the web offers, all or those that the filter leaves.
ListView {
    id: root

    required property ScriptListModel library ///< the user's own
    property string filter: ""

    signal activated

    function isWanted(name: string): bool {
        const wanted = filter.toLowerCase();
        return wanted === "" || name.toLowerCase().includes(wanted);
    }

    /// Selects the next script in that direction that the filter leaves.
    function step(direction: int) {
        let next = currentIndex + direction;
        while (next >= 0 && next < count && !isWanted(model.scriptNameAt(next)))
            next += direction;
        if (next >= 0 && next < count)
            currentIndex = next;
    }

    function selectFirst() {
        currentIndex = -1;
        step(1);
        forceActiveFocus();
    }

    function activateCurrent() {
        if (currentItem)
            activated();
    }

    objectName: "downloadScriptListView"
    clip: true
    focus: true
    activeFocusOnTab: true
    boundsBehavior: Flickable.StopAtBounds

    Accessible.role: Accessible.List
    Accessible.name: qsTr("Download list")

    ScrollBar.vertical: NeededScrollBar {}

    Keys.onUpPressed: step(-1)
    Keys.onDownPressed: step(1)
    Keys.onReturnPressed: activateCurrent()
    Keys.onEnterPressed: activateCurrent()

    delegate: Rectangle {
        id: row

        required property int index
        required property string scriptName

        readonly property bool isOwned: root.library.findScriptByName(scriptName) >= 0

        width: ListView.view.width
        height: visible ? Theme.rowHeight : 0
        visible: root.isWanted(scriptName)
        radius: 1
        color: row.ListView.isCurrentItem ? root.palette.highlight : "transparent"

        Accessible.role: Accessible.ListItem
        Accessible.name: row.scriptName
        Accessible.selectable: true
        Accessible.selected: ListView.isCurrentItem
        Accessible.description: ownedMark.visible ? ownedMark.explanation : ""

        Label {
            anchors.left: parent.left
            anchors.leftMargin: 10
            anchors.right: ownedMark.left
            anchors.verticalCenter: parent.verticalCenter
            text: row.scriptName
            textFormat: Text.PlainText
            elide: Text.ElideRight
            maximumLineCount: 1
        }

        Label {
            id: ownedMark

            readonly property string explanation: qsTr("Your library has a script of this name")

            anchors.right: parent.right
            anchors.rightMargin: 14
            anchors.verticalCenter: parent.verticalCenter
            visible: row.isOwned
            text: "\u2713"

            HoverHandler {
                id: hover
            }

            ToolTip.visible: hover.hovered
            ToolTip.text: explanation
        }

        TapHandler {
            onTapped: root.currentIndex = row.index
        }
    }

    FocusRing {}

    Rectangle {
        z: -1
        anchors.fill: parent
        color: root.palette.dark
    }
}
