import QtQuick
import QtQuick.Controls

/// What the user can do in the window, each with its name and shortcut. The window decides what
/// happens; buttons, tooltips and the guide take their texts from here.
Item {
    id: root

    required property bool deviceConnected
    required property bool scriptSelected

    signal sortRequested
    signal deleteRequested
    signal addRequested
    signal openFileRequested
    signal saveFileRequested
    signal readRequested
    signal sendRequested
    signal settingsRequested
    signal downloadRequested
    signal guideRequested
    signal clearRequested

    readonly property Action sortScripts: Action {
        text: qsTr("Sort scripts")
        shortcut: "Ctrl+L"
        onTriggered: root.sortRequested()
    }
    readonly property Action deleteScript: Action {
        text: qsTr("Delete script")
        shortcut: "Ctrl+Shift+Delete"
        onTriggered: root.deleteRequested()
    }
    readonly property Action addScript: Action {
        text: qsTr("Add script")
        shortcut: "Ctrl+N"
        onTriggered: root.addRequested()
    }
    readonly property Action openFile: Action {
        text: qsTr("Add script from file")
        shortcut: "Ctrl+O"
        onTriggered: root.openFileRequested()
    }
    readonly property Action saveFile: Action {
        text: qsTr("Save script to file")
        shortcut: "Ctrl+S"
        enabled: root.scriptSelected
        onTriggered: root.saveFileRequested()
    }
    readonly property Action readScript: Action {
        text: qsTr("Read Script")
        shortcut: "Ctrl+R"
        enabled: root.deviceConnected
        onTriggered: root.readRequested()
    }
    readonly property Action sendScript: Action {
        text: qsTr("Send Script")
        shortcut: "Ctrl+Return"
        enabled: root.deviceConnected
        onTriggered: root.sendRequested()
    }
    readonly property Action settings: Action {
        text: qsTr("Settings")
        shortcut: "Ctrl+,"
        enabled: root.deviceConnected
        onTriggered: root.settingsRequested()
    }
    readonly property Action downloadScripts: Action {
        text: qsTr("Download Scripts")
        shortcut: "Ctrl+D"
        onTriggered: root.downloadRequested()
    }
    readonly property Action readGuide: Action {
        text: qsTr("Read Guide")
        shortcut: "F1"
        onTriggered: root.guideRequested()
    }
    readonly property Action clearLog: Action {
        text: qsTr("Clear")
        shortcut: "Ctrl+Shift+K"
        onTriggered: root.clearRequested()
    }

    // The other Return.
    Shortcut {
        sequence: "Ctrl+Enter"
        enabled: root.sendScript.enabled
        onActivated: root.sendScript.trigger()
    }

    /// In the order in which the guide lists them.
    readonly property list<Action> all: [addScript, deleteScript, sortScripts, openFile, saveFile, readScript,
        sendScript, clearLog, settings, downloadScripts, readGuide]
}
