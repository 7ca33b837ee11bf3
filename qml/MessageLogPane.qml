import QtQuick
import QtQuick.Controls
import Editing
import OstrelEditor
import Scripts

/// What the box prints and what the editor did with it. Follows what comes while its end is in
/// sight; scrolled up, it stays where it is.
Item {
    id: root

    required property WindowActions actions
    required property real zoom

    readonly property alias textArea: messageTextArea

    /// The user asks for the line that an error names.
    signal errorLineWanted(int line)

    function showLatestError() {
        const line = errorLines.latest();
        if (line > 0)
            errorLineWanted(line);
    }

    /// Adds `text` at the end, as it is.
    function append(text: string) {
        appender.append(text);
    }

    function clear() {
        appender.clear();
        view.follows = true;
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

        property bool follows: true

        function followEnd() {
            if (follows)
                contentY = Math.max(0, contentHeight - height);
        }

        anchors.top: bar.bottom
        anchors.bottom: parent.bottom
        width: parent.width
        clip: true
        boundsBehavior: Flickable.StopAtBounds
        contentWidth: width
        contentHeight: messageTextArea.height

        // Text that comes moves the end, not the view, so this is the user's doing, or followEnd's.
        onContentYChanged: follows = contentY + height >= contentHeight - messageTextArea.bottomPadding - 1
        onContentHeightChanged: followEnd()
        onHeightChanged: followEnd()

        ScrollBar.vertical: NeededScrollBar {}

        ScrolledTextArea {
            id: messageTextArea

            objectName: "messageTextArea"
            width: view.width
            viewport: view
            font.pointSize: Math.round(Application.font.pointSize * root.zoom)
            // Without wrapping the whole log would be laid out anew with each line.
            wrapMode: TextEdit.Wrap

            Accessible.name: qsTr("Message log")

            function errorLineAt(x: real, y: real): int {
                return errorLines.lineNamedAt(positionAt(x, y));
            }

            onReleased: event => {
                const line = errorLineAt(event.x, event.y);
                // Later, since the click itself gives the log the keyboard after this.
                if (line > 0 && selectedText === "")
                    Qt.callLater(root.errorLineWanted, line);
            }

            HoverHandler {
                readonly property bool isOnLine: hovered
                    && messageTextArea.errorLineAt(point.position.x, point.position.y) > 0

                cursorShape: isOnLine ? Qt.PointingHandCursor : Qt.IBeamCursor
            }

            onCursorRectangleChanged: {
                if (activeFocus)
                    keepLineVisible();
            }

            // The log is for reading: Tab goes on to the next control.
            KeyNavigation.priority: KeyNavigation.BeforeItem
            KeyNavigation.tab: messageTextArea.nextItemInFocusChain()
        }
    }

    FocusRing {
        objectName: "logFocusRing"
        anchors.topMargin: bar.height
        shown: messageTextArea.activeFocus
    }

    Image {
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        anchors.margins: 10
        source: "/assets/ZEVLogo.svg"
        opacity: Theme.normalIconOpacity
    }

    ErrorLines {
        id: errorLines

        Component.onCompleted: setDocumentFromQML(messageTextArea.textDocument)
    }

    TextAppender {
        id: appender

        Component.onCompleted: setDocumentFromQML(messageTextArea.textDocument)
    }
}
