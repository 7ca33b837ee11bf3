import QtQuick
import Scripts

/// What is known of the script in the device, from what was last read from it and sent to it.
QtObject {
    id: root

    required property ScriptListModel scriptListModel

    property int scriptId: 0 ///< of the library's script that went there or came from it; 0 if unknown
    property string text: "" ///< as it was then
    property int lastId: 0 ///< the same, and still after the device has gone

    function hold(row: int, text: string) {
        scriptId = scriptListModel.scriptIdAt(row);
        lastId = scriptId;
        root.text = text;
    }

    function forget() {
        scriptId = 0;
    }

    /// How a script of the library stands to it, for the user; nothing where that is not known.
    function stateOf(id: int, shownText: string): string {
        if (scriptId === 0 || id === 0)
            return "";
        if (shownText === text)
            return qsTr("in the device");
        return id === scriptId ? qsTr("changed since sent") : qsTr("not in the device");
    }
}
