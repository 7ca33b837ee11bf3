import QtQuick
import QtQuick.Controls
import OstrelEditor
import Scripts

/// What the box prints and what the editor did with it.
Item {
    id: root

    required property WindowActions actions

    /// Adds `text` at the end, as it is.
    function append(text: string) {
        appender.append(text);
    }

    function clear() {
        appender.clear();
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

    // Not a ScrollView: that lays its text area out so that all of the text is drawn, seen or not.
    Flickable {
        id: view

        function showEnd() {
            contentY = Math.max(0, contentHeight - height);
        }

        function keepCursorVisible() {
            const cursor = messageTextArea.cursorRectangle;
            if (cursor.y + cursor.height > contentY + height)
                contentY = cursor.y + cursor.height - height;
            else if (cursor.y < contentY)
                contentY = cursor.y;
        }

        function movePage(direction: int) {
            const cursor = messageTextArea.cursorRectangle;
            messageTextArea.cursorPosition =
                messageTextArea.positionAt(cursor.x, cursor.y + cursor.height / 2 + direction * height);
        }

        anchors.top: bar.bottom
        anchors.bottom: parent.bottom
        width: parent.width
        clip: true
        boundsBehavior: Flickable.StopAtBounds
        contentWidth: width
        contentHeight: messageTextArea.height

        ScrollBar.vertical: ScrollBar {}

        TextArea {
            id: messageTextArea

            objectName: "messageTextArea"
            width: view.width
            height: Math.max(view.height, contentHeight + topPadding + bottomPadding)
            textFormat: TextEdit.PlainText
            // Without wrapping the whole log would be laid out anew with each line.
            wrapMode: TextEdit.Wrap
            selectByMouse: true
            color: palette.windowText
            background: Rectangle {
                color: messageTextArea.palette.base
            }

            Accessible.name: qsTr("Message log")

            onCursorRectangleChanged: {
                if (activeFocus)
                    view.keepCursorVisible();
            }
            Keys.onPressed: event => {
                const plain = event.modifiers === Qt.NoModifier;
                event.accepted = plain && (event.key === Qt.Key_PageUp || event.key === Qt.Key_PageDown);
                if (event.accepted)
                    view.movePage(event.key === Qt.Key_PageUp ? -1 : 1);
            }

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
        opacity: Theme.normalIconOpacity
    }

    TextAppender {
        id: appender

        onAppended: view.showEnd()
        Component.onCompleted: setDocumentFromQML(messageTextArea.textDocument)
    }
}
