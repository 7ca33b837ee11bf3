import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import OstrelEditor

/// Runs a firmware update and shows how far it is. Closed by the end of the update or by its Cancel
/// button, which also cancels the update; an error stays to be read.
Dialog {
    id: root

    required property FirmwareUpdate firmwareUpdate
    property bool startOnOpen: false
    property bool done: false
    /// The user tried to close the window while the box was being written to.
    property bool closeAttempted: false
    /// An error is shown, which the status of the step that failed must not replace.
    property bool failed: false
    property string statusText: ""
    property real progressShown: 0

    readonly property int kibibyte: 1024

    signal updateFailed

    /// `progress` from 0 to 1; anything above says that the update is finished.
    function setProgress(progress: real) {
        if (progress > 1.0) {
            done = true;
            close();
        } else {
            failed = false;
            progressShown = progress;
        }
    }

    function startUpdate() {
        firmwareUpdate.startUpdate();
    }

    function statusMessage(msgText: string) {
        if (!failed)
            statusText = msgText;
    }

    function amountSent(): string {
        if (firmwareUpdate.bytesTotal === 0 || firmwareUpdate.bytesSent === 0)
            return "";
        const sent = qsTr("%1 of %2 KiB").arg(Math.floor(firmwareUpdate.bytesSent / kibibyte))
            .arg(Math.ceil(firmwareUpdate.bytesTotal / kibibyte));
        if (firmwareUpdate.secondsLeft < 0)
            return sent;
        return qsTr("%1, about %2 s left").arg(sent).arg(firmwareUpdate.secondsLeft);
    }

    objectName: "updateDialog"
    parent: Overlay.overlay
    anchors.centerIn: parent
    implicitWidth: 300
    title: qsTr("Firmware Update")
    modal: true
    focus: true
    closePolicy: Popup.NoAutoClose
    standardButtons: Dialog.Cancel
    footer: DialogButtons {
        spokenName: root.statusText ? qsTr("%1: %2").arg(root.title).arg(root.statusText) : root.title
    }

    background: Rectangle {
        color: root.palette.dark
        border.color: root.palette.light
        border.width: 2
    }

    onOpened: {
        statusText = "";
        progressShown = 0;
        firmwareUpdate.init();
        done = false;
        closeAttempted = false;
        failed = false;
        // Cancel may have been pressed the last time, and would still have the focus.
        standardButton(Dialog.Cancel).focus = false;
        if (startOnOpen)
            startUpdate();
    }
    onClosed: {
        if (!done)
            firmwareUpdate.cancelUpdate();
    }

    contentItem: ColumnLayout {
        spacing: 20

        Label {
            objectName: "updateStatusText"
            Layout.fillWidth: true
            Layout.preferredHeight: 30
            text: root.statusText
            textFormat: Text.PlainText
            wrapMode: Text.Wrap
            color: root.palette.windowText

            Accessible.name: qsTr("Status")
            Accessible.description: text
        }

        ProgressBar {
            objectName: "updateProgress"
            Layout.fillWidth: true
            Layout.preferredHeight: 30
            value: root.progressShown
            // The style draws what is done in the dark colour, which is the dialog's own.
            palette.dark: root.palette.highlight
            palette.midlight: root.palette.button

            Accessible.name: qsTr("Progress")

            Behavior on value {
                enabled: root.visible

                NumberAnimation {
                    duration: 150
                }
            }
        }

        Label {
            objectName: "updateAmountText"
            Layout.fillWidth: true
            text: root.amountSent()
            color: root.palette.midlight
            visible: text !== ""
        }

        Label {
            objectName: "updateCloseNote"
            Layout.fillWidth: true
            text: qsTr("Closing now would leave your device without working firmware until the next update. "
                + "Press Cancel to stop the update. Closing the window once more stops it and closes the editor.")
            wrapMode: Text.Wrap
            visible: root.closeAttempted
        }
    }

    Connections {
        target: root.firmwareUpdate
        enabled: root.visible

        function onProgressChanged(progress: real) {
            root.setProgress(progress);
        }

        function onStatusChanged(statusMsg: string) {
            root.statusMessage(statusMsg);
        }

        function onUpdateCompleted() {
            root.close();
        }

        function onUpdateError(errorMsg: string) {
            root.statusMessage(errorMsg);
            root.failed = true;
        }
    }
}
