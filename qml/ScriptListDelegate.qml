import QtQuick
import QtQuick.Templates as T
import OstrelEditor

/// One script of the library: its name, editable in place. A name that is wider than the row shows
/// its beginning, and all of it in a tooltip.
FocusScope {
    id: root

    required property int index
    required property string scriptName
    required property string scriptText
    required property int pointSize

    property bool isHeld: false ///< the device runs it
    property bool isWanted: true ///< by what the list is filtered for
    property bool isNew: false ///< its name is edited for the first time
    property string nameBefore: ""

    signal selected
    signal renamed(string name)
    signal named ///< the first name was confirmed
    signal stepped(int rows)

    function editName() {
        nameField.forceActiveFocus();
        nameField.selectAll();
    }

    function editFirstName() {
        editName();
        isNew = true;
    }

    function confirmName() {
        const wasNew = isNew;
        leaveName();
        if (wasNew)
            named();
    }

    function restoreName() {
        renamed(nameBefore);
        leaveName();
    }

    /// Called instead of bound, so that a tooltip is made for what is pointed at alone.
    function explain(wanted: bool) {
        if (!wanted) {
            T.ToolTip.hide();
            return;
        }
        if (!elided.visible && !isHeld)
            return;
        T.ToolTip.delay = Theme.toolTipDelay;
        T.ToolTip.show(isHeld ? qsTr("%1 (in the device)").arg(scriptName) : scriptName);
    }

    /// Gives the keyboard back to the list.
    function leaveName() {
        nameField.focus = false;
    }

    implicitHeight: isWanted ? Theme.rowHeight : 0
    visible: isWanted

    Accessible.role: Accessible.ListItem
    Accessible.name: root.scriptName
    Accessible.selectable: true
    Accessible.selected: ListView.isCurrentItem
    Accessible.description: isHeld ? qsTr("in the device") : ""

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
        anchors.rightMargin: root.isHeld ? 25 : 10
        anchors.verticalCenter: parent.verticalCenter
        opacity: elided.visible ? 0 : 1
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
                root.nameBefore = text;
                root.selected();
            } else {
                root.isNew = false;
                focus = false; // or the row would hand the keyboard to its name later
                cursorPosition = 0; // a long name shows its beginning again
            }
        }
        // Keys instead of accepted(), after which the list would get the key and edit the name again.
        Keys.onReturnPressed: root.confirmName()
        Keys.onEnterPressed: root.confirmName()
        Keys.onEscapePressed: root.restoreName()
        Keys.onUpPressed: {
            root.leaveName();
            root.stepped(-1);
        }
        Keys.onDownPressed: {
            root.leaveName();
            root.stepped(1);
        }
    }

    // A text field cannot elide.
    Text {
        id: elided

        anchors.fill: nameField
        visible: !nameField.activeFocus && nameField.contentWidth > nameField.width
        text: root.scriptName
        textFormat: Text.PlainText
        elide: Text.ElideRight
        font: nameField.font
        color: nameField.color
    }

    FocusRing {
        anchors.margins: 1
        shown: nameField.activeFocus
    }

    Rectangle {
        objectName: root.isHeld ? "heldMark" : ""
        anchors.right: parent.right
        anchors.rightMargin: 10
        anchors.verticalCenter: parent.verticalCenter
        visible: root.isHeld
        width: 8
        height: 8
        radius: 4
        color: nameField.color
    }

    HoverHandler {
        onHoveredChanged: root.explain(hovered)
    }
}
