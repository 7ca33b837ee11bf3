pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls
import OstrelEditor

/// The scripts that the web offers.
ListView {
    id: root

    signal activated

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

    Keys.onReturnPressed: activateCurrent()
    Keys.onEnterPressed: activateCurrent()

    delegate: Rectangle {
        id: row

        required property int index
        required property string scriptName

        width: ListView.view.width
        height: Theme.rowHeight
        radius: 1
        color: row.ListView.isCurrentItem ? root.palette.highlight : "transparent"

        Accessible.role: Accessible.ListItem
        Accessible.name: row.scriptName

        Label {
            anchors.left: parent.left
            anchors.leftMargin: 10
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            text: row.scriptName
            textFormat: Text.PlainText
            elide: Text.ElideRight
            maximumLineCount: 1
        }

        TapHandler {
            onTapped: root.currentIndex = row.index
        }
    }

    Rectangle {
        z: -1
        anchors.fill: parent
        color: root.palette.dark
    }

    Label {
        anchors.centerIn: parent
        width: parent.width - 40
        visible: root.count === 0
        text: qsTr("The scripts on offer appear here once they have arrived.")
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.Wrap
        color: palette.midlight
    }
}
