import QtQuick
import QtQuick.Controls

/// Asks whether a box that needs new firmware is to get it now. Closed by its buttons only.
Dialog {
    id: root

    parent: Overlay.overlay
    anchors.centerIn: parent
    width: 360
    title: qsTr("Update Needed")
    modal: true
    focus: true
    closePolicy: Popup.NoAutoClose
    standardButtons: Dialog.Ok | Dialog.Cancel
    footer: DialogButtons {
        id: buttons
    }

    background: Rectangle {
        color: root.palette.dark
        border.color: root.palette.light
        border.width: 2
    }

    contentItem: Label {
        text: qsTr("This device needs a firmware update to work with this version of the editor. Ok to proceed with the update?")
        wrapMode: Text.Wrap
    }

    onOpened: buttons.focusOk()
}
