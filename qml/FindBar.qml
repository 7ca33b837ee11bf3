import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Editing
import OstrelEditor

/// Finds and replaces text in the shown script. Hidden until it is wanted; Escape hides it.
Rectangle {
    id: root

    required property ScriptEditor editor
    property bool replacing: false

    readonly property alias finder: textFinder
    readonly property int current: textFinder.count > 0 && editor && editor.selectionLength === textFinder.text.length
        ? textFinder.numberOf(editor.selectionStart) : 0

    /// Shows the bar for what is selected in the editor, or else for what was looked for before.
    function find(withReplacing: bool) {
        replacing = withReplacing;
        visible = true;
        if (editor.selectedText !== "" && !editor.selectedText.includes("\n"))
            findField.text = editor.selectedText;
        findField.forceActiveFocus();
        findField.selectAll();
    }

    function findNext() {
        goTo(textFinder.next(current > 0 ? editor.selectionStart + 1 : editor.selectionStart));
    }

    function findPrevious() {
        goTo(textFinder.previous(editor.selectionStart));
    }

    function goTo(place: int) {
        if (place >= 0)
            editor.select(place, place + textFinder.text.length);
    }

    function replaceOne() {
        if (textFinder.replace(current > 0 ? editor.selectionStart : -1, replaceField.text))
            goTo(textFinder.next(editor.cursorPosition));
        else
            findNext();
    }

    function close() {
        visible = false;
        editor.edit();
    }

    visible: false
    implicitHeight: visible ? rows.implicitHeight + 10 : 0
    color: palette.dark

    onEditorChanged: textFinder.setDocumentFromQML(editor?.document ?? null)

    Keys.onEscapePressed: close()

    TextFinder {
        id: textFinder

        matchCase: caseButton.checked
        wholeWord: wordButton.checked
    }

    ColumnLayout {
        id: rows

        anchors.fill: parent
        anchors.margins: 5
        anchors.leftMargin: 10
        spacing: 5

        RowLayout {
            spacing: 5

            BarField {
                id: findField

                objectName: "findField"
                Layout.fillWidth: true
                hint: qsTr("Find")
                onTextChanged: {
                    // Not by a binding, which may come after this.
                    textFinder.text = text;
                    // As it is typed, from the place where the search began.
                    if (activeFocus)
                        root.goTo(textFinder.next(root.editor.selectionStart));
                }
                Keys.onReturnPressed: event => event.modifiers & Qt.ShiftModifier ? root.findPrevious() : root.findNext()
                Keys.onEnterPressed: event => event.modifiers & Qt.ShiftModifier ? root.findPrevious() : root.findNext()
            }

            Label {
                objectName: "findCount"
                Layout.preferredWidth: 70
                horizontalAlignment: Text.AlignHCenter
                text: {
                    if (textFinder.count === 0)
                        return findField.text ? qsTr("none") : "";
                    return root.current > 0 ? qsTr("%1 of %2").arg(root.current).arg(textFinder.count)
                                            : String(textFinder.count);
                }
            }

            BarButton {
                text: "\u2191"
                explanation: qsTr("Previous (Shift+F3)")
                onClicked: root.findPrevious()
            }

            BarButton {
                text: "\u2193"
                explanation: qsTr("Next (F3)")
                onClicked: root.findNext()
            }

            BarButton {
                id: caseButton

                text: "Aa"
                checkable: true
                explanation: qsTr("Match case")
            }

            BarButton {
                id: wordButton

                text: "|w|"
                checkable: true
                explanation: qsTr("Whole word")
            }

            BarButton {
                text: "\u00D7"
                explanation: qsTr("Close (Esc)")
                onClicked: root.close()
            }
        }

        RowLayout {
            visible: root.replacing
            spacing: 5

            BarField {
                id: replaceField

                objectName: "replaceField"
                Layout.fillWidth: true
                hint: qsTr("Replace by")
                Keys.onReturnPressed: root.replaceOne()
                Keys.onEnterPressed: root.replaceOne()
            }

            BarButton {
                text: qsTr("Replace")
                explanation: qsTr("Replace and find the next")
                onClicked: root.replaceOne()
            }

            BarButton {
                text: qsTr("All")
                explanation: qsTr("Replace all")
                onClicked: textFinder.replaceAll(replaceField.text)
            }
        }
    }
}
