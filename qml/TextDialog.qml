import QtQuick
import QtQuick.Controls

/// A modal dialog that says one thing in large type. It is closed by its buttons only, unless its
/// owner lets Escape do so. Return and Space press the button that has the focus, at first the Ok
/// button.
Dialog {
    id: root

    property string text: ""

    parent: Overlay.overlay
    anchors.centerIn: parent
    width: 400
    height: 250
    modal: true
    focus: true
    closePolicy: Popup.NoAutoClose

    onOpened: buttons.focusOn(Dialog.Ok)

    footer: DialogButtons {
        id: buttons

        spokenName: root.text
    }

    background: Rectangle {
        color: root.palette.dark
        border.color: root.palette.light
        border.width: 2
    }

    contentItem: Label {
        text: root.text
        textFormat: Text.PlainText
        font.pointSize: 16
        font.bold: true
        wrapMode: Text.Wrap
        elide: Text.ElideRight
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        color: root.palette.windowText
    }
}
