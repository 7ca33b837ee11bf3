import QtQuick
import OstrelEditor

/// One script of the library: its name, editable in place.
FocusScope {
    id: root

    required property int index
    required property string scriptName
    required property int pointSize

    signal selected
    signal renamed(string name)
    signal stepped(int rows)

    function editName() {
        nameField.forceActiveFocus();
        nameField.selectAll();
    }

    /// Gives the keyboard back to the list.
    function leaveName() {
        nameField.focus = false;
    }

    implicitHeight: Theme.rowHeight

    Accessible.role: Accessible.ListItem
    Accessible.name: root.scriptName

    // Not a TapHandler, which a press in a window that covers this one reaches as well.
    MouseArea {
        anchors.fill: parent
        onClicked: root.selected()
    }

    Rectangle {
        anchors.fill: parent
        radius: 1
        color: root.ListView.isCurrentItem ? palette.highlight : "transparent"
    }

    TextInput {
        id: nameField

        objectName: "scriptNameField"
        anchors.left: parent.left
        anchors.leftMargin: 10
        anchors.right: parent.right
        anchors.rightMargin: 10
        anchors.verticalCenter: parent.verticalCenter
        text: root.scriptName
        font.pointSize: root.pointSize
        color: root.ListView.isCurrentItem ? palette.highlightedText : palette.windowText
        selectionColor: palette.windowText
        selectedTextColor: palette.window
        selectByMouse: true
        activeFocusOnTab: false
        clip: true

        Accessible.role: Accessible.EditableText
        Accessible.name: qsTr("Script name")

        onTextEdited: root.renamed(text)
        onActiveFocusChanged: {
            if (activeFocus) {
                root.selected();
            } else {
                focus = false; // or the row would hand the keyboard to its name later
                cursorPosition = 0; // a long name shows its beginning again
            }
        }
        // Keys instead of accepted(), after which the list would get the key and edit the name again.
        Keys.onReturnPressed: root.leaveName()
        Keys.onEnterPressed: root.leaveName()
        Keys.onEscapePressed: root.leaveName()
        Keys.onUpPressed: {
            root.leaveName();
            root.stepped(-1);
        }
        Keys.onDownPressed: {
            root.leaveName();
            root.stepped(1);
        }
    }
}
