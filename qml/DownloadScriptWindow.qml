import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import OSTSyntaxHighlighter
import OstrelEditor
import Scripts

/// Offers the scripts of a library on the web, each with the comment that it begins with. Covers
/// the main window; downloads anew each time it is shown.
Popup {
    id: root

    required property ScriptListModel model
    required property ScriptListModel library ///< the user's own
    required property string scriptUrl
    property int timeLimit: 15000 ///< ms that a download may take
    required property font scriptFont

    signal scriptChosen(string name, string text)

    function selectedName(): string {
        return model.scriptNameAt(downloadScriptListView.currentIndex);
    }

    function selectedText(): string {
        return model.scriptTextAt(downloadScriptListView.currentIndex);
    }

    /// The leading comment block of the selected script, one line each.
    function selectedNotes(): string {
        let notes = "";
        for (const line of selectedText().split(/\r?\n/)) {
            if (line.startsWith("#"))
                notes += line + "\n";
            else if (line !== "")
                break;
        }
        return notes;
    }

    function showNotes() {
        notesArea.text = selectedNotes();
    }

    function download() {
        model.cancelDownload();
        model.clear();
        filterField.clear();
        state.failure = "";
        limit.restart();
        model.loadFromUrl(scriptUrl);
        downloadScriptListView.forceActiveFocus();
    }

    /// What arrives after that is not to change the list.
    function endDownload(failure: string) {
        limit.stop();
        model.cancelDownload();
        state.failure = failure;
    }

    function choose() {
        scriptChosen(selectedName(), selectedText());
        visible = false;
    }

    objectName: "downloadScriptWindow"
    parent: Overlay.overlay // the header too is covered
    width: parent?.width ?? 0
    height: parent?.height ?? 0
    visible: false
    modal: true
    dim: false
    focus: true
    margins: 0
    padding: 2
    background: WindowBackground {}

    onVisibleChanged: {
        if (visible)
            download();
        else
            endDownload("");
    }

    Connections {
        target: root.model

        function onModelReset() {
            root.showNotes();
        }

        function onDownloaded() {
            root.endDownload("");
            downloadScriptListView.selectFirst();
        }

        function onDownloadFailed(reason: string) {
            root.endDownload(reason);
        }
    }

    Timer {
        id: limit

        interval: root.timeLimit
        onTriggered: root.endDownload(qsTr("No answer came within %1 seconds.").arg(root.timeLimit / 1000))
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        Accessible.role: Accessible.Dialog
        Accessible.name: qsTr("Download Scripts")

        WindowTitleBar {
            Layout.fillWidth: true
            title: qsTr("Download Scripts")
        }

        // By anchors: a layout that was made before the window had its size left the list no width.
        Item {
            Layout.fillWidth: true
            Layout.fillHeight: true

            Rectangle {
                width: downloadScriptListView.width
                height: downloadScriptListView.y
                color: root.palette.dark
            }

            BarField {
                id: filterField

                objectName: "downloadFilterField"
                x: 5
                y: 5
                width: downloadScriptListView.width - 10
                hint: qsTr("Find scripts by name")
                onTextEdited: downloadScriptListView.currentIndex = -1
                Keys.onDownPressed: downloadScriptListView.selectFirst()
                Keys.onReturnPressed: downloadScriptListView.selectFirst()
                Keys.onEnterPressed: downloadScriptListView.selectFirst()
            }

            DownloadState {
                id: state

                z: 1
                anchors.verticalCenter: downloadScriptListView.verticalCenter
                x: 10
                width: downloadScriptListView.width - 20
                visible: downloadScriptListView.count === 0
                loading: limit.running
                onAgainRequested: root.download()
            }

            DownloadList {
                id: downloadScriptListView

                anchors.top: filterField.bottom
                anchors.topMargin: 5
                anchors.bottom: parent.bottom
                width: parent.width / 5
                model: root.model
                library: root.library
                filter: filterField.text

                onCurrentIndexChanged: root.showNotes()
                onActivated: root.choose()
            }

            ScrollView {
                anchors.top: parent.top
                anchors.bottom: parent.bottom
                anchors.left: downloadScriptListView.right
                anchors.right: parent.right

                TextArea {
                    id: notesArea

                    objectName: "downloadNotesArea"
                    readOnly: true
                    textFormat: TextEdit.PlainText
                    selectByMouse: true
                    font: root.scriptFont
                    leftPadding: 60
                    topPadding: 10
                    tabStopDistance: Theme.tabStop
                    color: palette.windowText
                    background: Rectangle {
                        color: notesArea.palette.base
                    }

                    Accessible.name: qsTr("Script notes")
                    KeyNavigation.priority: KeyNavigation.BeforeItem
                    KeyNavigation.tab: downloadButton
                }
            }
        }

        Item {
            Layout.fillWidth: true
            implicitHeight: 50

            PlainButton {
                id: downloadButton

                objectName: "downloadScriptButton"
                anchors.centerIn: parent
                height: Theme.buttonHeight
                text: qsTr("Download Script")
                Keys.onReturnPressed: clicked()
                Keys.onEnterPressed: clicked()
                onClicked: root.choose()
            }

            PlainButton {
                objectName: "downloadDoneButton"
                anchors.right: parent.right
                anchors.rightMargin: 20
                anchors.verticalCenter: parent.verticalCenter
                height: Theme.buttonHeight
                text: qsTr("Done")
                Keys.onReturnPressed: clicked()
                Keys.onEnterPressed: clicked()
                onClicked: root.visible = false
            }
        }
    }

    OSTSyntaxHighlighter {
        Component.onCompleted: setDocumentFromQML(notesArea.textDocument)
    }
}
