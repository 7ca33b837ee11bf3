import QtQuick
import OstrelEditor

/// The field for a box's display name. A click anywhere in it starts editing.
Rectangle {
    id: root

    property alias text: nameInput.text

    signal edited
    signal accepted

    function selectAll() {
        nameInput.selectAll();
    }

    implicitWidth: 200
    implicitHeight: 25
    color: palette.base
    border.width: nameInput.activeFocus ? 2 : 1
    border.color: nameInput.activeFocus ? Theme.focusColor : palette.mid

    onActiveFocusChanged: {
        if (activeFocus)
            nameInput.forceActiveFocus();
    }

    TapHandler {
        onTapped: nameInput.forceActiveFocus()
    }

    TextInput {
        id: nameInput

        objectName: "displayNameInput"
        anchors.fill: parent
        anchors.leftMargin: 5
        anchors.rightMargin: 5
        verticalAlignment: Text.AlignVCenter
        maximumLength: 31
        clip: true
        selectByMouse: true
        activeFocusOnTab: true
        color: palette.windowText
        selectionColor: palette.highlight
        selectedTextColor: palette.highlightedText

        Accessible.role: Accessible.EditableText
        Accessible.name: qsTr("Display Name")

        onTextEdited: root.edited()
        onAccepted: root.accepted()
    }
}
