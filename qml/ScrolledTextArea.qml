import QtQuick
import QtQuick.Templates as T

/// Plain text that fills the Flickable it lies in, or more, and is moved there by the page keys as
/// in any editor, with Shift to select.
T.TextArea {
    id: root

    required property Flickable viewport

    /// Scrolls up or down until the cursor is in sight.
    function keepLineVisible() {
        const cursor = cursorRectangle;
        if (cursor.y >= viewport.contentY + viewport.height - cursor.height - textMargin)
            viewport.contentY = cursor.y - viewport.height + cursor.height + textMargin;
        else if (cursor.y < viewport.contentY)
            viewport.contentY = Math.max(0, cursor.y - textMargin);
    }

    function movePage(direction: int, selecting: bool) {
        const cursor = cursorRectangle;
        const position = positionAt(cursor.x, cursor.y + cursor.height / 2 + direction * viewport.height);
        if (selecting)
            moveCursorSelection(position);
        else
            cursorPosition = position;
    }

    height: Math.max(viewport.height, contentHeight + topPadding + bottomPadding)
    implicitWidth: contentWidth + leftPadding + rightPadding
    implicitHeight: contentHeight + topPadding + bottomPadding
    padding: 6
    leftPadding: 10
    textFormat: TextEdit.PlainText
    selectByMouse: true
    color: palette.windowText
    selectionColor: palette.highlight
    selectedTextColor: palette.highlightedText
    background: Rectangle {
        color: root.palette.base
    }

    Accessible.role: Accessible.EditableText
    Accessible.multiLine: true
    Accessible.readOnly: readOnly

    Keys.onPressed: event => {
        const isPageKey = event.key === Qt.Key_PageUp || event.key === Qt.Key_PageDown;
        const modifiers = event.modifiers & ~Qt.KeypadModifier;
        const selecting = modifiers === Qt.ShiftModifier;
        event.accepted = isPageKey && (selecting || modifiers === Qt.NoModifier);
        if (event.accepted)
            movePage(event.key === Qt.Key_PageUp ? -1 : 1, selecting);
    }
}
