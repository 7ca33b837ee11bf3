import QtQuick

/// The selected script, with the icons that move scripts between box and editor.
Item {
    id: root

    required property WindowActions actions
    required property font scriptFont
    required property real zoom
    required property string deviceNeededText
    required property DeviceScript deviceScript
    required property int maxLength

    readonly property alias editor: scriptPages

    function find(replacing: bool) {
        (finding.make() as FindBar).find(replacing);
    }

    /// Without a search there is nothing to find.
    function findNext(forward: bool) {
        const bar = finding.item as FindBar;
        if (forward)
            bar?.findNext();
        else
            bar?.findPrevious();
    }

    function askForLine() {
        (lineGoing.make() as LineBar).ask();
    }

    PaneBar {
        id: bar

        width: parent.width
        title: qsTr("Current Script")
        iconsWidth: 20 + 40 + 10 + 40 + 10

        StateLine {
            x: 160
            width: readIcon.x - x - 15
            anchors.verticalCenter: parent.verticalCenter
            editor: scriptPages.current
            deviceScript: root.deviceScript
            maxLength: root.maxLength
        }

        IconButton {
            id: readIcon

            objectName: "readIcon"
            anchors.right: sendIcon.left
            anchors.rightMargin: 10
            anchors.verticalCenter: parent.verticalCenter
            action: root.actions.readScript
            icon: "/assets/ReadScript2.svg"
            disabledReason: root.deviceNeededText
        }

        IconButton {
            id: sendIcon

            objectName: "sendIcon"
            anchors.right: parent.right
            anchors.rightMargin: 20
            anchors.verticalCenter: parent.verticalCenter
            action: root.actions.sendScript
            icon: "/assets/SendScript2.svg"
            disabledReason: root.deviceNeededText
        }
    }

    OnDemand {
        id: finding

        anchors.top: bar.bottom
        width: parent.width
        document: "FindBar.qml"
        properties: ({ editor: Qt.binding(() => scriptPages.current) })
    }

    OnDemand {
        id: lineGoing

        anchors.top: finding.bottom
        width: parent.width
        document: "LineBar.qml"
        properties: ({ editor: Qt.binding(() => scriptPages.current) })
    }

    ScriptPages {
        id: scriptPages

        anchors.top: lineGoing.bottom
        anchors.bottom: parent.bottom
        width: parent.width
        scriptFont: root.scriptFont
        zoom: root.zoom
        finder: finding.item?.visible ? (finding.item as FindBar).finder : null

        FocusRing {
            objectName: "editorFocusRing"
            z: 1
        }
    }
}
