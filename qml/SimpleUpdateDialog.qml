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

    signal updateFailed

    /// `progress` from 0 to 1; anything above says that the update is finished.
    function setProgress(progress: real) {
        if (progress > 1.0) {
            done = true;
            close();
        } else {
            updateProgress.value = progress;
        }
    }

    function startUpdate() {
        firmwareUpdate.startUpdate();
    }

    function statusMessage(msgText: string) {
        updateStatusText.text = msgText;
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

    onOpened: {
        updateStatusText.text = "";
        updateProgress.value = 0;
        firmwareUpdate.init();
        done = false;
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
            id: updateStatusText

            objectName: "updateStatusText"
            Layout.fillWidth: true
            Layout.preferredHeight: 30
            textFormat: Text.PlainText
            wrapMode: Text.Wrap
            color: root.palette.windowText
        }

        ProgressBar {
            id: updateProgress

            objectName: "updateProgress"
            Layout.fillWidth: true
            Layout.preferredHeight: 30
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
        }
    }
}
