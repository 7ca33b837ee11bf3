import QtQuick
import Scripts

/// Reads the box's script into the library and sends the selected one, and tells the message log
/// how that went.
QtObject {
    id: root

    required property var transfer ///< the SettingsTransfer
    required property ScriptListModel scriptListModel
    required property bool deviceConnected

    readonly property string readScriptName: "Downloaded Script"

    signal logged(string message)
    signal scriptRead(string name, string text)
    signal scriptSent(string text)
    signal deviceScriptUnknown ///< what was sent is not there, or nobody can tell

    readonly property Connections confirmation: Connections {
        target: root.transfer

        function onSentScriptDiffers() {
            root.deviceScriptUnknown();
            root.logged(qsTr("The device holds a different script. Please send it again.\n"));
        }

        function onSentScriptNotConfirmed() {
            root.deviceScriptUnknown();
            root.logged(qsTr("The device did not confirm the script.\n"));
        }
    }

    function readScript() {
        if (!deviceConnected)
            return;
        logged(qsTr("Reading...\n"));
        const script = transfer.receiveScript();
        if (typeof script === "string" && script !== "") {
            logged(qsTr("Receive complete!\n"));
            scriptRead(readScriptName, script);
        } else {
            logged(qsTr("Error receiving script.\n"));
        }
        scriptListModel.saveToFile();
    }

    function sendScript(text: string) {
        if (!deviceConnected)
            return;
        logged(qsTr("Sending...\n"));
        scriptListModel.saveToFile();
        const sent = transfer.sendScript(text);
        logged(sent ? qsTr("Send complete!\n") : qsTr("Error sending script.\n"));
        if (sent)
            scriptSent(text);
        else
            deviceScriptUnknown();
    }
}
