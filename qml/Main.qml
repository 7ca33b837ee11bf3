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
    readonly property string defaultScript: desk.newScriptText
    readonly property string defaultScriptName: desk.newScriptName
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
    readonly property alias deleteInProgress: desk.deleteInProgress
    readonly property alias savedIndex: desk.savedIndex
    readonly property alias savedName: desk.savedName

    // The native objects that the start-up made; the documents below get them from here.
    readonly property FirmwareUpdate updater: firmwareUpdate // qmllint disable unqualified
    readonly property CppInterface globals: cppInterface // qmllint disable unqualified
    // No type of its own here: the object is handed to the documents by name, without a module.
    readonly property var transfer: SettingsTransfer // qmllint disable unqualified

    function getScriptName(): string {
        return desk.selectedName();
    }

    /// As the editor shows it, whatever line ends the library has.
    function getScriptText(): string {
        return panes.editor.text();
    }

    function getDownloadScriptName(): string {
        return (dialogs.downloads() as DownloadScriptWindow).selectedName();
    }

    function getDownloadScriptText(): string {
        return (dialogs.downloads() as DownloadScriptWindow).selectedText();
    }

    function getDownloadScriptNotes(): string {
        return (dialogs.downloads() as DownloadScriptWindow).selectedNotes();
    }

    function logMessage(msg: string) {
        panes.log.append(msg);
    }

    function updateScriptText() {
        desk.showSelected();
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
        memory.restore();
        desk.start();
    }

    onClosing: close => {
        close.accepted = dialogs.endUpdateBeforeClosing();
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

    DeviceSession {
        id: session

        devices: connectedDeviceListModel
        updater: rootWindow.updater
        onLogged: line => rootWindow.logMessage(line)
    }

    ScriptListModel {
        id: scriptListModel
    }

    // A scan holds up the window, so the window is seen first.
    FirstFrame {
        onShown: session.start()
    }

    ScriptDesk {
        id: desk

        actions: actions
        scriptListModel: scriptListModel
        panes: panes
        dialogs: dialogs
        transfer: rootWindow.transfer
        deviceConnected: rootWindow.connectedDevice !== -1
        maxScriptLength: rootWindow.maxScriptLen
        onLogged: message => rootWindow.logMessage(message)
    }

    WindowActions {
        id: actions

        deviceConnected: rootWindow.connectedDevice !== -1
        scriptSelected: panes.scripts.currentIndex >= 0
        onSettingsRequested: dialogs.openSettings()
        onDownloadRequested: dialogs.openDownloads()
        onGuideRequested: dialogs.openGuide()
        onPaneStepped: direction => paneRing.step(direction)
    }

    WindowMemory {
        id: memory

        window: rootWindow
        panes: panes
        scriptFiles: desk.files
        scriptListModel: scriptListModel
    }

    PaneRing {
        id: paneRing

        stops: [panes.scripts.list, panes.editor, panes.log.textArea, headerBar.chooser]
    }

    header: HeaderBar {
        id: headerBar

        session: session
        chooser.onDeviceIsConnected: index => {
            rootWindow.connectedDevice = index;
            desk.held.forget();
        }
    }

    MainPanes {
        id: panes

        anchors.fill: parent
        actions: actions
        scriptListModel: scriptListModel
        scriptFont: Qt.font({ family: rootWindow.scriptFont, bold: rootWindow.scriptFontBold, pointSize: rootWindow.scriptPointSize })
        namePointSize: rootWindow.defaultPointSize
        deviceScript: desk.held
        maxScriptLength: rootWindow.maxScriptLen
        editor.onEdited: desk.takeEdit()
        scripts.onSelectionChanged: desk.takeSelection()
        log.onErrorLineWanted: line => desk.showError(line)
        scripts.onNewScriptNamed: panes.editor.editAtEnd()
        scripts.onFilesDropped: urls => desk.files.readAll(urls)
    }

    WindowDialogs {
        id: dialogs

        session: session
        globals: rootWindow.globals
        scriptListModel: scriptListModel
        deviceConnected: rootWindow.connectedDevice !== -1
        scriptFont: panes.zoomedFont
        versionString: rootWindow.versionString
        actions: actions
        onDeleteAnswered: agreed => desk.deleteSelected(agreed)
        onScriptChosen: (name, text) => desk.add(name, text)
    }
}
