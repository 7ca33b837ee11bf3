import QtQuick
import QtQuick.Controls
import OstrelEditor
import Scripts

/// The windows and questions that the main window shows over itself, each made when it is first
/// needed.
Item {
    id: root

    required property DeviceSession session
    required property CppInterface globals
    required property ScriptListModel scriptListModel
    required property bool deviceConnected
    required property font scriptFont
    required property string versionString
    required property WindowActions actions

    signal deleteAnswered(bool agreed)
    signal scriptChosen(string name, string text)

    function askToDelete(name: string) {
        const dialog = okCancelDialog.make() as TextDialog;
        dialog.standardButtons = Dialog.Ok | Dialog.Cancel;
        dialog.text = qsTr("Delete script '%1'?").arg(name);
        dialog.open();
    }

    function sayOfFile(message: string) {
        const dialog = fileMessageDialog.make() as TextDialog;
        dialog.standardButtons = Dialog.Ok;
        dialog.closePolicy = Popup.CloseOnEscape;
        dialog.text = message;
        dialog.open();
    }

    function warn(message: string) {
        (messageDialog.make() as SystemMessage).show(message);
    }

    /// Whether the window may close.
    function endUpdateBeforeClosing(): bool {
        return updateDialogs.endUpdateBeforeClosing();
    }

    function openSettings() {
        globalSettingsWindow.open();
    }

    function openDownloads() {
        downloadScriptWindow.open();
    }

    function openGuide() {
        guideWindow.open();
    }

    function downloads(): QtObject {
        return downloadScriptWindow.make();
    }

    UpdateDialogs {
        id: updateDialogs

        session: root.session
    }

    OnDemand {
        id: okCancelDialog

        document: "TextDialog.qml"
        properties: ({ objectName: "okCancelDialog" })
    }

    Connections {
        target: okCancelDialog.item

        function onAccepted() {
            root.deleteAnswered(true);
        }

        function onRejected() {
            root.deleteAnswered(false);
        }
    }

    OnDemand {
        id: fileMessageDialog

        document: "TextDialog.qml"
        properties: ({ objectName: "fileMessageDialog" })
    }

    OnDemand {
        id: messageDialog

        document: "SystemMessage.qml"
    }

    OnDemand {
        id: globalSettingsWindow

        document: "GlobalSettingsWindow.qml"
        properties: ({
            globals: root.globals,
            deviceConnected: Qt.binding(() => root.deviceConnected)
        })
    }

    Connections {
        target: globalSettingsWindow.item

        function onGlobalSettingsUpdated() {
            root.session.settingsWritten(root.globals.sysexId());
        }
    }

    ScriptListModel {
        id: downloadScriptListModel

        scriptFileName: ""
    }

    OnDemand {
        id: downloadScriptWindow

        objectName: "downloadScriptWindowOnDemand"
        document: "DownloadScriptWindow.qml"
        properties: ({
            model: downloadScriptListModel,
            library: root.scriptListModel,
            scriptUrl: BuildConfiguration.scriptUrl,
            scriptFont: Qt.binding(() => root.scriptFont)
        })
    }

    Connections {
        target: downloadScriptWindow.item

        function onScriptChosen(name: string, text: string) {
            root.scriptChosen(name, text);
        }
    }

    OnDemand {
        id: guideWindow

        document: "GuideWindow.qml"
        properties: ({ versionString: root.versionString, actions: root.actions })
    }
}
