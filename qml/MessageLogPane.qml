import QtQuick
import QtQuick.Controls
import OstrelEditor

/// What the box prints and what the editor did with it. Text that comes in quick succession is
/// added once per frame, so that a flood of it leaves the window usable.
Item {
    id: root

    required property WindowActions actions

    /// Adds `text` at the end, as it is.
    function append(text: string) {
        pending.text += text;
        if (!pending.running)
            pending.flush();
    }

    function clear() {
        pending.text = "";
        messageTextArea.clear();
    }

    PaneBar {
        id: bar

        width: parent.width
        title: qsTr("Message Log")
        color: "#222222"

        IconButton {
            objectName: "clearIcon"
            anchors.right: parent.right
            anchors.rightMargin: 20
            anchors.verticalCenter: parent.verticalCenter
            action: root.actions.clearLog
            icon: "/assets/Clear.svg"
        }
    }

    ScrollView {
        id: scrollView

        anchors.top: bar.bottom
        anchors.bottom: parent.bottom
        width: parent.width

        TextArea {
            id: messageTextArea

            objectName: "messageTextArea"
            textFormat: TextEdit.PlainText
            wrapMode: TextEdit.NoWrap
            selectByMouse: true
            color: palette.windowText
            background: Rectangle {
                color: messageTextArea.palette.base
            }

            Accessible.name: qsTr("Message log")

            // The log is for reading: Tab goes on to the next control.
            KeyNavigation.priority: KeyNavigation.BeforeItem
            KeyNavigation.tab: messageTextArea.nextItemInFocusChain()
        }
    }

    Image {
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        anchors.margins: 10
        source: "/assets/ZEVLogo.svg"
        sourceSize: Qt.size(implicitWidth, implicitHeight)
        opacity: Theme.normalIconOpacity
    }

    Timer {
        id: pending

        /// As much as is added at once, in characters: more would hold up a frame.
        readonly property int portion: 8192
        property string text: ""

        function flush() {
            if (!text)
                return;
            messageTextArea.insert(messageTextArea.length, text.slice(0, portion));
            text = text.slice(portion);
            messageTextArea.cursorPosition = messageTextArea.length;
            start();
        }

        interval: 16
        onTriggered: flush()
    }
}
