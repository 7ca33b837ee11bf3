import QtQuick
import QtQuick.Controls
import Editing
import OSTSyntaxHighlighter
import OstrelEditor

/// Edits one script: a text area with line numbers in one area that scrolls both ways; the numbers
/// stay at its left edge.
Flickable {
    id: view

    required property int scriptId
    required property font scriptFont
    required property real zoom

    property alias readOnly: scriptTextArea.readOnly
    // Aliases, since a binding may still hold the text from before when edited() arrives.
    property alias text: scriptTextArea.text
    property alias length: scriptTextArea.length
    readonly property alias lineCount: scriptTextArea.lineCount
    readonly property alias cursorPosition: scriptTextArea.cursorPosition
    readonly property alias selectionStart: scriptTextArea.selectionStart
    readonly property alias selectedText: scriptTextArea.selectedText
    readonly property int selectionLength: scriptTextArea.selectionEnd - scriptTextArea.selectionStart
    readonly property var document: scriptTextArea.textDocument
    readonly property alias lost: lostCharacters
    property int markedLine: 0 ///< whose number stands out until the next edit; 0 for none
    property TextFinder finder: null ///< whose places are tinted
    readonly property real textWidth: width - lineNumbers.width
    readonly property bool hasPlace: textWidth > 0 && height > 0 ///< which comes late at the start

    /// The user changed the text.
    signal edited

    /// Replaces the text without taking that for an edit.
    function load(text: string) {
        loading.active = true;
        scriptTextArea.text = text;
        loading.active = false;
        contentX = 0;
        contentY = 0;
    }

    /// Gives the text the keyboard.
    function edit() {
        scriptTextArea.forceActiveFocus();
    }

    function moveTo(position: int) {
        scriptTextArea.cursorPosition = Math.min(position, length);
    }

    function select(start: int, end: int) {
        scriptTextArea.select(start, end);
    }

    /// Puts the cursor at the beginning of a line, counted from 1, and the line in the middle.
    function goToLine(line: int) {
        const lines = text.split("\n").slice(0, line - 1);
        scriptTextArea.cursorPosition = Math.min(length, lines.join("\n").length + (line > 1 ? 1 : 0));
        const middle = scriptTextArea.cursorRectangle.y - height / 2;
        contentY = Math.max(0, Math.min(contentHeight - height, middle));
    }

    function keepCursorVisible() {
        if (!hasPlace)
            return;
        const cursor = scriptTextArea.cursorRectangle;
        const margin = scriptTextArea.textMargin;
        scriptTextArea.keepLineVisible();
        if (cursor.x >= contentX + textWidth - cursor.width - margin)
            contentX = cursor.x - textWidth + cursor.width + margin;
        else if (cursor.x < contentX)
            contentX = Math.max(0, cursor.x - margin);
    }

    onHasPlaceChanged: keepCursorVisible()

    clip: true
    boundsBehavior: Flickable.StopAtBounds
    contentWidth: lineNumbers.width + scriptTextArea.width
    contentHeight: scriptTextArea.height

    ScrollBar.vertical: NeededScrollBar {}
    ScrollBar.horizontal: ScrollBar {}

    QtObject {
        id: loading

        property bool active: false
    }

    ScrolledTextArea {
        id: scriptTextArea

        objectName: "scriptTextArea"
        focus: true
        x: lineNumbers.width
        width: Math.max(view.textWidth, contentWidth + leftPadding + rightPadding)
        viewport: view
        leftPadding: 5
        topPadding: 1
        font: view.scriptFont
        tabStopDistance: Theme.tabStop
        persistentSelection: true // seen while the find bar has the keyboard
        wrapMode: TextEdit.NoWrap

        Accessible.name: qsTr("Script editor")

        onTextChanged: {
            if (loading.active)
                return;
            view.markedLine = 0;
            view.edited();
        }
        onCursorRectangleChanged: view.keepCursorVisible()

        // A middle click pastes, and tabs become blanks as they do with Ctrl+V.
        MouseArea {
            anchors.fill: parent
            acceptedButtons: Qt.MiddleButton
            enabled: !scriptTextArea.readOnly
            onClicked: mouse => {
                view.edit();
                scriptTextArea.cursorPosition = scriptTextArea.positionAt(mouse.x, mouse.y);
                pythonKeys.pasteSelected(scriptTextArea.cursorPosition);
            }
        }

        /// True when that is done. What is none of these keys is left to the text area.
        function pressPythonKey(event: var): bool {
            const ctrl = (event.modifiers & ~Qt.KeypadModifier) === Qt.ControlModifier;
            const plain = (event.modifiers & ~(Qt.KeypadModifier | Qt.ShiftModifier)) === 0;
            const hasSelection = selectionStart !== selectionEnd;
            if (event.matches(StandardKey.Paste))
                pythonKeys.paste(selectionStart, selectionEnd);
            else if (ctrl && event.key === Qt.Key_Slash)
                pythonKeys.toggleComments(selectionStart, selectionEnd);
            else if (plain && (event.key === Qt.Key_Return || event.key === Qt.Key_Enter))
                pythonKeys.breakLine(selectionStart, selectionEnd);
            else if (event.key === Qt.Key_Backtab)
                pythonKeys.outdent(selectionStart, selectionEnd);
            else if (event.key === Qt.Key_Tab && hasSelection)
                pythonKeys.indent(selectionStart, selectionEnd);
            else if (event.key === Qt.Key_Tab)
                insert(cursorPosition, "    ");
            else
                return plain && event.key === Qt.Key_Backspace && !hasSelection
                    && pythonKeys.deleteIndent(cursorPosition);
            return true;
        }

        Keys.onPressed: event => {
            // The keys that move by a page are taken by now.
            if (!event.accepted && !readOnly)
                event.accepted = pressPythonKey(event);
        }
    }

    PythonKeys {
        id: pythonKeys

        Component.onCompleted: setDocumentFromQML(scriptTextArea.textDocument)
    }

    OnDemand {
        x: scriptTextArea.x
        wanted: view.finder !== null
        document: "TextMarks.qml"
        properties: ({
            textArea: scriptTextArea,
            viewport: view,
            source: Qt.binding(() => view.finder),
            color: Theme.hitColor
        })
    }

    LostCharacters {
        id: lostCharacters

        Component.onCompleted: setDocumentFromQML(scriptTextArea.textDocument)
    }

    OnDemand {
        x: scriptTextArea.x
        wanted: lostCharacters.count > 0
        document: "TextMarks.qml"
        properties: ({
            textArea: scriptTextArea,
            viewport: view,
            source: Qt.binding(() => lostCharacters.count > 0 ? lostCharacters : null),
            color: Theme.warningColor,
            underlined: true
        })
    }

    LineNumbers {
        id: lineNumbers

        x: view.contentX
        height: scriptTextArea.height
        lineCount: scriptTextArea.lineCount
        textHeight: scriptTextArea.contentHeight
        topPadding: scriptTextArea.topPadding
        viewTop: view.contentY
        viewHeight: view.height
        numberFont: view.scriptFont
        zoom: view.zoom
        markedLine: view.markedLine
    }

    OSTSyntaxHighlighter {
        id: scriptSyntaxHighlighter

        Component.onCompleted: setDocumentFromQML(scriptTextArea.textDocument)
    }
}
