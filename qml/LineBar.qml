import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import OstrelEditor

/// Goes to a line of the shown script. Hidden until it is wanted; Escape hides it.
Rectangle {
    id: root

    required property ScriptEditor editor

    function ask() {
        visible = true;
        lineField.forceActiveFocus();
        lineField.selectAll();
    }

    function close() {
        visible = false;
        editor.edit();
    }

    function go() {
        if (lineField.acceptableInput)
            editor.goToLine(Number(lineField.text));
        close();
    }

    visible: false
    implicitHeight: visible ? Theme.barControlHeight + 10 : 0
    color: palette.dark

    Keys.onEscapePressed: close()

    RowLayout {
        anchors.fill: parent
        anchors.margins: 5
        anchors.leftMargin: 10
        spacing: 5

        BarField {
            id: lineField

            objectName: "lineField"
            Layout.preferredWidth: 120
            hint: qsTr("Go to line")
            validator: IntValidator { bottom: 1 }
            Keys.onReturnPressed: root.go()
            Keys.onEnterPressed: root.go()
        }

        Label {
            Layout.fillWidth: true
            text: qsTr("of %1").arg(root.editor?.lineCount ?? 0)
        }
    }
}
