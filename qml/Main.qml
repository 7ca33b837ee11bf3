import QtQuick
import QtQuick.Controls
import ConnectedDevices
import MIDI
import OstrelEditor
import Scripts

/// The main window: owns the native objects, composes the panes, and says what each action does.
ApplicationWindow {
    id: rootWindow

    readonly property string versionString: "1.1.1"
    readonly property string defaultScript: "from ostrel import *\n\n"
    readonly property string defaultScriptName: "NEW SCRIPT"
    readonly property bool isIOS: Qt.platform.os === "ios"
    readonly property bool isApple: isIOS || Qt.platform.os === "osx"
    readonly property int defaultPointSize: isApple ? 13 : 10
    readonly property int scriptPointSize: isApple ? 14 : 11
    readonly property string scriptFont: "Courier New"
    readonly property bool scriptFontBold: true
    readonly property int maxScriptLen: 6900
    readonly property real pressedIconOpacity: Theme.pressedIconOpacity
    readonly property real hoveredIconOpacity: Theme.hoveredIconOpacity
    readonly property real normalIconOpacity: Theme.normalIconOpacity
    readonly property real disabledIconOpacity: Theme.disabledIconOpacity
    readonly property string scriptUrl: BuildConfiguration.scriptUrl

    property int connectedDevice: -1
    property bool deleteInProgress: false
    property int savedIndex: -1
    property string savedName: ""
    property bool started: false

    // The native objects that the start-up made; the documents below get them from here.
    readonly property FirmwareUpdate updater: firmwareUpdate // qmllint disable unqualified
    readonly property CppInterface globals: cppInterface // qmllint disable unqualified
    // No type of its own here: the object is handed to the documents by name, without a module.
    readonly property var transfer: SettingsTransfer // qmllint disable unqualified

    function getScriptName(): string {
        return scriptListModel.scriptNameAt(panes.scripts.currentIndex);
    }

    /// As the editor shows it, whatever line ends the library has.
    function getScriptText(): string {
        return panes.editor.text();
    }

    function getDownloadScriptName(): string {
        return (downloadScriptWindow.make() as DownloadScriptWindow).selectedName();
    }

    function getDownloadScriptText(): string {
        return (downloadScriptWindow.make() as DownloadScriptWindow).selectedText();
    }

    function getDownloadScriptNotes(): string {
        return (downloadScriptWindow.make() as DownloadScriptWindow).selectedNotes();
    }

    function logMessage(msg: string) {
        panes.log.append(msg);
    }

    function updateScriptText() {
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

    function takeEdit() {
        scriptListModel.modifyScriptText(panes.scripts.currentIndex, panes.editor.text());
        checkLength();
    }

    function checkLength() {
        if (panes.editor.text().length > maxScriptLen)
            (messageDialog.make() as SystemMessage).show(qsTr("Script exceeds maximum allowable length (%1 bytes)").arg(maxScriptLen));
    }

    function addScript(name: string, text: string) {
        scriptListModel.addScript(name, text);
        panes.scripts.selectLast();
    }

    function sortScripts() {
        savedName = scriptListModel.scriptNameAt(panes.scripts.currentIndex);
        scriptListModel.sortScripts();
        savedIndex = scriptListModel.findScriptByName(savedName);
        panes.scripts.select(savedIndex > -1 ? savedIndex : 0);
        // Another script may stand at the selected row now, which is no change of the selection.
        updateScriptText();
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
        const dialog = okCancelDialog.make() as TextDialog;
        dialog.standardButtons = Dialog.Ok | Dialog.Cancel;
        dialog.text = qsTr("Delete script '%1'?").arg(getScriptName());
        dialog.open();
    }

    function deleteScript() {
        if (deleteInProgress)
            keeping.remove(panes.scripts.currentIndex);
        updateScriptText();
        deleteInProgress = false;
    }

    width: Math.min(1024, Screen.desktopAvailableWidth)
    height: Math.min(768, Screen.desktopAvailableHeight)
    minimumWidth: 800
    minimumHeight: 600
    visible: true
    title: "Ostrel Script Editor v" + versionString
    color: palette.window
    palette: WindowPalette {}

    Component.onCompleted: {
        transfer.midiObj = midi;
        updater.midiObj = midi;
        connectedDeviceListModel.inputPortName = isApple ? "Ostrel OST Internal" : "MIDIIN4 (Ostrel)";
        connectedDeviceListModel.outputPortName = isApple ? "Ostrel OST Internal" : "MIDIOUT6 (Ostrel)";
        // No other product's box is ever to be written to.
        connectedDeviceListModel.addProductIDToList(ConnectedDeviceListModel.Ostrel);
        memory.restore();
        updateScriptText();
        started = true;
    }

    onClosing: close => {
        close.accepted = headerBar.chooser.endUpdateBeforeClosing();
        if (close.accepted)
            memory.keep();
    }

    MIDI {
        id: midi

        onTextMessageReceived: text => rootWindow.logMessage(text)
    }

    ConnectedDeviceListModel {
        id: connectedDeviceListModel

        midiObj: midi
    }

    ScriptListModel {
        id: scriptListModel

        onSavingFailed: folder => rootWindow.logMessage(qsTr("Your scripts cannot be saved: %1\n").arg(folder))
        onSavingWorksAgain: rootWindow.logMessage(qsTr("Your scripts can be saved again.\n"))
    }

    ScriptListModel {
        id: downloadScriptListModel

        scriptFileName: ""
    }

    // A scan holds up the window, so the window is seen first.
    Connections {
        id: firstFrame

        target: rootWindow

        function onFrameSwapped() {
            firstFrame.enabled = false;
            connectedDeviceListModel.scanForDevice();
        }
    }

    // The box may restart when its mode changes.
    Timer {
        id: reloadTimer

        interval: 2000
        onTriggered: {
            connectedDeviceListModel.newSysexID = rootWindow.globals.deviceRefSetSysexId(rootWindow.connectedDevice, rootWindow.globals.sysexId());
            headerBar.chooser.rescanDevices();
        }
    }

    ScriptKeeping {
        id: keeping

        scriptListModel: scriptListModel
        onLogged: message => rootWindow.logMessage(message)
    }

    ScriptTransfers {
        id: transfers

        transfer: rootWindow.transfer
        scriptListModel: scriptListModel
        deviceConnected: rootWindow.connectedDevice !== -1
        onLogged: message => rootWindow.logMessage(message)
        onScriptRead: (name, text) => {
            rootWindow.addScript(name, text);
            deviceScript.hold(panes.scripts.currentIndex, rootWindow.getScriptText());
        }
        onScriptSent: text => {
            deviceScript.hold(panes.scripts.currentIndex, text);
            panes.editor.clearMarks();
        }
        onDeviceScriptUnknown: deviceScript.forget()
    }

    DeviceScript {
        id: deviceScript

        scriptListModel: scriptListModel
    }

    ScriptFiles {
        id: scriptFiles

        onScriptRead: (name, text) => rootWindow.addScript(name, text)
        onFailed: message => {
            const dialog = fileMessageDialog.make() as TextDialog;
            dialog.standardButtons = Dialog.Ok;
            dialog.closePolicy = Popup.CloseOnEscape;
            dialog.text = message;
            dialog.open();
        }
    }

    WindowActions {
        id: actions

        deviceConnected: rootWindow.connectedDevice !== -1
        scriptSelected: panes.scripts.currentIndex >= 0
        onSortRequested: rootWindow.sortScripts()
        onDeleteRequested: rootWindow.askToDelete()
        onAddRequested: {
            rootWindow.addScript(rootWindow.defaultScriptName, rootWindow.defaultScript);
            panes.scripts.editFirstName();
        }
        onRestoreRequested: rootWindow.selectKept(keeping.restore())
        onDuplicateRequested: rootWindow.selectKept(keeping.duplicate(panes.scripts.currentIndex))
        onMoveRequested: rows => rootWindow.selectKept(keeping.move(panes.scripts.currentIndex, rows))
        onOpenFileRequested: scriptFiles.chooseAndRead()
        onSaveFileRequested: scriptFiles.chooseAndWrite(rootWindow.getScriptName(), rootWindow.getScriptText())
        onReadRequested: transfers.readScript()
        onSendRequested: transfers.sendScript(rootWindow.getScriptText())
        onSettingsRequested: globalSettingsWindow.open()
        onDownloadRequested: downloadScriptWindow.open()
        onGuideRequested: guideWindow.open()
        onClearRequested: panes.log.clear()
        onFindRequested: replacing => panes.find(replacing)
        onFindAgainRequested: forward => panes.findNext(forward)
        onLineRequested: panes.askForLine()
        onZoomRequested: steps => steps === 0 ? panes.zoom = 1 : panes.zoomBy(steps)
        onErrorRequested: panes.log.showLatestError()
        onPaneStepped: direction => paneRing.step(direction)
    }

    WindowMemory {
        id: memory

        window: rootWindow
        panes: panes
        scriptFiles: scriptFiles
        scriptListModel: scriptListModel
    }

    PaneRing {
        id: paneRing

        stops: [panes.scripts.list, panes.editor, panes.log.textArea, headerBar.chooser]
    }

    header: HeaderBar {
        id: headerBar

        firmwareUpdateObj: rootWindow.updater
        listModel: connectedDeviceListModel
        chooser.onDeviceIsConnected: index => {
            rootWindow.connectedDevice = index;
            deviceScript.forget();
        }
        chooser.onLogged: message => rootWindow.logMessage(message)
    }

    MainPanes {
        id: panes

        anchors.fill: parent
        actions: actions
        scriptListModel: scriptListModel
        scriptFont: Qt.font({ family: rootWindow.scriptFont, bold: rootWindow.scriptFontBold, pointSize: rootWindow.scriptPointSize })
        namePointSize: rootWindow.defaultPointSize
        deviceScript: deviceScript
        maxScriptLength: rootWindow.maxScriptLen
        editor.onEdited: rootWindow.takeEdit()
        scripts.onSelectionChanged: {
            // The start shows one script, once it is known which.
            if (rootWindow.started)
                rootWindow.updateScriptText();
            scriptListModel.saveInBackground();
        }
        log.onErrorLineWanted: line => rootWindow.showError(line)
        scripts.onNewScriptNamed: panes.editor.editAtEnd()
        // Nothing is to change behind a question or a window that covers this one.
        scripts.takesDrops: !(Overlay.overlay?.visible ?? false)
        scripts.onFilesDropped: urls => scriptFiles.readAll(urls)
    }

    OnDemand {
        id: okCancelDialog

        document: "TextDialog.qml"
        properties: ({ objectName: "okCancelDialog" })
    }

    Connections {
        target: okCancelDialog.item

        function onAccepted() {
            rootWindow.deleteScript();
        }

        function onRejected() {
            rootWindow.deleteInProgress = false;
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
        properties: ({ globals: rootWindow.globals, deviceConnected: Qt.binding(() => rootWindow.connectedDevice !== -1) })
    }

    Connections {
        target: globalSettingsWindow.item

        function onGlobalSettingsUpdated() {
            reloadTimer.restart();
        }
    }

    OnDemand {
        id: downloadScriptWindow

        objectName: "downloadScriptWindowOnDemand"
        document: "DownloadScriptWindow.qml"
        properties: ({
            model: downloadScriptListModel,
            library: scriptListModel,
            scriptUrl: rootWindow.scriptUrl,
            scriptFont: Qt.binding(() => panes.zoomedFont)
        })
    }

    Connections {
        target: downloadScriptWindow.item

        function onScriptChosen(name: string, text: string) {
            rootWindow.addScript(name, text);
        }
    }

    OnDemand {
        id: guideWindow

        document: "GuideWindow.qml"
        properties: ({ versionString: rootWindow.versionString, actions: actions })
    }
}
