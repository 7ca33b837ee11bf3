import QtQuick
import QtQuick.Templates as T

/// What the user can do in the window, each with its name and shortcut. The window decides what
/// happens; buttons, tooltips and the guide take their texts from here.
Item {
    id: root

    required property bool deviceConnected
    required property bool scriptSelected

    signal sortRequested
    signal deleteRequested
    signal addRequested
    signal restoreRequested
    signal duplicateRequested
    signal moveRequested(int rows)
    signal openFileRequested
    signal saveFileRequested
    signal readRequested
    signal sendRequested
    signal settingsRequested
    signal downloadRequested
    signal guideRequested
    signal clearRequested
    signal findRequested(bool replacing)
    signal findAgainRequested(bool forward)
    signal lineRequested
    signal errorRequested
    signal zoomRequested(int steps) ///< 0 for none
    signal paneStepped(int direction)

    readonly property ShortcutAction sortScripts: ShortcutAction {
        text: qsTr("Sort scripts")
        keys: "Ctrl+L"
        onTriggered: root.sortRequested()
    }
    readonly property ShortcutAction deleteScript: ShortcutAction {
        text: qsTr("Delete script")
        keys: "Ctrl+Shift+Delete"
        onTriggered: root.deleteRequested()
    }
    readonly property ShortcutAction addScript: ShortcutAction {
        text: qsTr("Add script")
        keys: "Ctrl+N"
        onTriggered: root.addRequested()
    }
    readonly property ShortcutAction restoreScript: ShortcutAction {
        text: qsTr("Bring back the script that was deleted last")
        keys: "Ctrl+Shift+T"
        onTriggered: root.restoreRequested()
    }
    readonly property ShortcutAction duplicateScript: ShortcutAction {
        text: qsTr("Duplicate script")
        keys: "Ctrl+Shift+D"
        enabled: root.scriptSelected
        onTriggered: root.duplicateRequested()
    }
    readonly property ShortcutAction moveScriptUp: ShortcutAction {
        text: qsTr("Move script up")
        keys: "Alt+Up"
        enabled: root.scriptSelected
        onTriggered: root.moveRequested(-1)
    }
    readonly property ShortcutAction moveScriptDown: ShortcutAction {
        text: qsTr("Move script down")
        keys: "Alt+Down"
        enabled: root.scriptSelected
        onTriggered: root.moveRequested(1)
    }
    readonly property ShortcutAction openFile: ShortcutAction {
        text: qsTr("Add script from file")
        keys: "Ctrl+O"
        onTriggered: root.openFileRequested()
    }
    readonly property ShortcutAction saveFile: ShortcutAction {
        text: qsTr("Save script to file")
        keys: "Ctrl+S"
        enabled: root.scriptSelected
        onTriggered: root.saveFileRequested()
    }
    readonly property ShortcutAction readScript: ShortcutAction {
        text: qsTr("Read Script")
        keys: "Ctrl+R"
        enabled: root.deviceConnected
        onTriggered: root.readRequested()
    }
    readonly property ShortcutAction sendScript: ShortcutAction {
        text: qsTr("Send Script")
        keys: "Ctrl+Return"
        otherKeys: "Ctrl+Enter"
        enabled: root.deviceConnected
        onTriggered: root.sendRequested()
    }
    readonly property ShortcutAction settings: ShortcutAction {
        text: qsTr("Settings")
        keys: "Ctrl+,"
        enabled: root.deviceConnected
        onTriggered: root.settingsRequested()
    }
    readonly property ShortcutAction downloadScripts: ShortcutAction {
        text: qsTr("Download Scripts")
        keys: "Ctrl+D"
        onTriggered: root.downloadRequested()
    }
    readonly property ShortcutAction readGuide: ShortcutAction {
        text: qsTr("Read Guide")
        keys: "F1"
        onTriggered: root.guideRequested()
    }
    readonly property ShortcutAction clearLog: ShortcutAction {
        text: qsTr("Clear")
        keys: "Ctrl+Shift+K"
        onTriggered: root.clearRequested()
    }

    readonly property ShortcutAction find: ShortcutAction {
        text: qsTr("Find in the script, or in the list a script")
        keys: "Ctrl+F"
        onTriggered: root.findRequested(false)
    }
    readonly property ShortcutAction replace: ShortcutAction {
        text: qsTr("Replace in the script")
        keys: "Ctrl+H"
        onTriggered: root.findRequested(true)
    }
    readonly property ShortcutAction findNext: ShortcutAction {
        text: qsTr("Find next")
        keys: "F3"
        onTriggered: root.findAgainRequested(true)
    }
    readonly property ShortcutAction findPrevious: ShortcutAction {
        text: qsTr("Find previous")
        keys: "Shift+F3"
        onTriggered: root.findAgainRequested(false)
    }
    readonly property ShortcutAction goToLine: ShortcutAction {
        text: qsTr("Go to a line")
        keys: "Ctrl+G"
        onTriggered: root.lineRequested()
    }
    readonly property ShortcutAction showError: ShortcutAction {
        text: qsTr("Show the line of the latest error in the log")
        keys: "F8"
        onTriggered: root.errorRequested()
    }
    readonly property ShortcutAction zoomIn: ShortcutAction {
        text: qsTr("Larger text")
        keys: "Ctrl++"
        otherKeys: "Ctrl+="
        onTriggered: root.zoomRequested(1)
    }
    readonly property ShortcutAction zoomOut: ShortcutAction {
        text: qsTr("Smaller text")
        keys: "Ctrl+-"
        onTriggered: root.zoomRequested(-1)
    }
    readonly property ShortcutAction zoomReset: ShortcutAction {
        text: qsTr("Text of normal size")
        keys: "Ctrl+0"
        onTriggered: root.zoomRequested(0)
    }
    readonly property ShortcutAction nextPane: ShortcutAction {
        text: qsTr("Go to the next of list, editor, log and device menu")
        keys: "F6"
        onTriggered: root.paneStepped(1)
    }
    readonly property ShortcutAction previousPane: ShortcutAction {
        text: qsTr("Go to the one before")
        keys: "Shift+F6"
        onTriggered: root.paneStepped(-1)
    }

    /// In the order in which the guide lists them.
    readonly property list<T.Action> all: [addScript, deleteScript, restoreScript, duplicateScript, sortScripts,
        moveScriptUp, moveScriptDown, openFile, saveFile, readScript,
        sendScript, clearLog, settings, downloadScripts, readGuide, find, replace, findNext, findPrevious, goToLine, showError,
        zoomIn, zoomOut, zoomReset, nextPane, previousPane]
}
