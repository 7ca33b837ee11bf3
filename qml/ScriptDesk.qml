import QtQuick
import OstrelEditor
import Scripts

/// What the window does with scripts: shows the selected one in the editor, takes edits into the
/// library, and carries scripts between library, device and files.
Item {
    id: root

    required property WindowActions actions
    required property ScriptListModel scriptListModel
    required property MainPanes panes
    required property WindowDialogs dialogs
    required property var transfer ///< the SettingsTransfer
    required property bool deviceConnected
    required property int maxScriptLength

    readonly property string newScriptText: "from ostrel import *\n\n"
    readonly property string newScriptName: "NEW SCRIPT"
    property bool deleteInProgress: false
    property bool started: false ///< and not that the window is still being made
    property int savedIndex: -1
    property string savedName: ""

    readonly property alias files: scriptFiles
    readonly property alias held: deviceScript ///< what is known of the device's script

    signal logged(string message)

    function selectedName(): string {
        return scriptListModel.scriptNameAt(panes.scripts.currentIndex);
    }

    function showSelected() {
        const row = panes.scripts.currentIndex;
        const textBefore = panes.editor.text();
        panes.editor.show(scriptListModel.scriptIdAt(row), scriptListModel.scriptTextAt(row));
        if (panes.editor.text() === textBefore)
            return;
        // The start alone is not to change the library.
        if (started)
            takeEdit();
        else
            checkLength();
    }

    /// To be called once the window is whole and knows which script to show.
    function start() {
        showSelected();
        started = true;
        scriptListModel.saveInBackground();
    }

    function takeEdit() {
        scriptListModel.modifyScriptText(panes.scripts.currentIndex, panes.editor.text());
        checkLength();
    }

    function checkLength() {
        if (panes.editor.text().length > maxScriptLength)
            dialogs.warn(qsTr("Script exceeds maximum allowable length (%1 bytes)").arg(maxScriptLength));
    }

    function takeSelection() {
        // The start shows one script, once it is known which.
        if (!started)
            return;
        showSelected();
        scriptListModel.saveInBackground();
    }

    function add(name: string, text: string) {
        scriptListModel.addScript(name, text);
        panes.scripts.selectLast();
    }

    function sort() {
        savedName = selectedName();
        scriptListModel.sortScripts();
        savedIndex = scriptListModel.findScriptByName(savedName);
        panes.scripts.select(savedIndex > -1 ? savedIndex : 0);
        // Another script may stand at the selected row now, which is no change of the selection.
        showSelected();
    }

    function selectKept(row: int) {
        if (row >= 0)
            panes.scripts.select(row);
    }

    /// Errors are about the script that was sent or read last; without one, we take the selected.
    function showError(line: int) {
        const id = deviceScript.lastId;
        const row = id > 0 ? scriptListModel.findScriptById(id) : panes.scripts.currentIndex;
        if (row < 0)
            return;
        panes.scripts.select(row);
        panes.editor.showError(line);
    }

    function askToDelete() {
        deleteInProgress = true;
        dialogs.askToDelete(selectedName());
    }

    function deleteSelected(agreed: bool) {
        if (agreed && deleteInProgress)
            keeping.remove(panes.scripts.currentIndex);
        if (agreed)
            showSelected();
        deleteInProgress = false;
    }

    Connections {
        target: root.actions

        function onSortRequested() {
            root.sort();
        }

        function onDeleteRequested() {
            root.askToDelete();
        }

        function onAddRequested() {
            root.add(root.newScriptName, root.newScriptText);
            root.panes.scripts.editFirstName();
        }

        function onRestoreRequested() {
            root.selectKept(keeping.restore());
        }

        function onDuplicateRequested() {
            root.selectKept(keeping.duplicate(root.panes.scripts.currentIndex));
        }

        function onMoveRequested(rows: int) {
            root.selectKept(keeping.move(root.panes.scripts.currentIndex, rows));
        }

        function onOpenFileRequested() {
            scriptFiles.chooseAndRead();
        }

        function onSaveFileRequested() {
            scriptFiles.chooseAndWrite(root.selectedName(), root.panes.editor.text());
        }

        function onReadRequested() {
            transfers.readScript();
        }

        function onSendRequested() {
            transfers.sendScript(root.panes.editor.text());
        }
    }

    Connections {
        target: root.scriptListModel

        function onSavingFailed(folder: string) {
            root.logged(qsTr("Your scripts cannot be saved: %1\n").arg(folder));
        }

        function onSavingWorksAgain() {
            root.logged(qsTr("Your scripts can be saved again.\n"));
        }
    }

    ScriptKeeping {
        id: keeping

        scriptListModel: root.scriptListModel
        onLogged: message => root.logged(message)
    }

    ScriptTransfers {
        id: transfers

        transfer: root.transfer
        scriptListModel: root.scriptListModel
        deviceConnected: root.deviceConnected
        onLogged: message => root.logged(message)
        onScriptRead: (name, text) => {
            root.add(name, text);
            deviceScript.hold(root.panes.scripts.currentIndex, root.panes.editor.text());
        }
        onScriptSent: text => {
            deviceScript.hold(root.panes.scripts.currentIndex, text);
            root.panes.editor.clearMarks();
        }
        onDeviceScriptUnknown: deviceScript.forget()
    }

    DeviceScript {
        id: deviceScript

        scriptListModel: root.scriptListModel
    }

    ScriptFiles {
        id: scriptFiles

        onScriptRead: (name, text) => root.add(name, text)
        onFailed: message => root.dialogs.sayOfFile(message)
    }
}
