pragma ComponentBehavior: Bound

import QtQuick

/// Marks ranges of a text area that does not wrap, above its text. Only what is in view has items.
/// `source` knows the ranges: its rangesBetween(from, to) returns their ends, in pairs.
Item {
    id: root

    required property TextEdit textArea
    required property Flickable viewport
    required property var source ///< null for no marks
    property color color: "transparent"
    property bool underlined: false

    property var places: [] ///< rectangles, in the text area

    function markAgain() {
        // The linter of Qt 6.4 does not know this for a function.
        Qt.callLater(mark); // qmllint disable
    }

    function mark() {
        places = source && visible ? source.rangesBetween(positionAt(viewport.contentY),
            positionAt(viewport.contentY + viewport.height, textArea.width)).reduce(addPlace, []) : [];
    }

    function positionAt(y: real, x = 0): int {
        return textArea.positionAt(x, y);
    }

    function addPlace(places: var, end: int, i: int, ends: var): var {
        // What is selected shows anyway.
        const isSelected = ends[i - 1] === textArea.selectionStart && end === textArea.selectionEnd;
        if (i % 2 === 0 || isSelected)
            return places;
        const from = textArea.positionToRectangle(ends[i - 1]);
        const to = textArea.positionToRectangle(end);
        // The mark of a line end is as wide as one character.
        const width = to.y === from.y ? to.x - from.x : from.height / 2;
        return [...places, Qt.rect(from.x, from.y, width, from.height)];
    }

    onSourceChanged: markAgain()
    onVisibleChanged: markAgain()

    Connections {
        target: root.source

        function onPlacesChanged() {
            root.markAgain();
        }
    }

    Connections {
        target: root.viewport

        function onContentYChanged() {
            root.markAgain();
        }

        function onHeightChanged() {
            root.markAgain();
        }
    }

    Connections {
        target: root.textArea

        function onSelectionStartChanged() {
            root.markAgain();
        }

        function onFontChanged() {
            root.markAgain();
        }
    }

    Repeater {
        model: root.places

        Rectangle {
            required property rect modelData

            x: modelData.x
            y: root.underlined ? modelData.y + modelData.height - 2 : modelData.y
            width: modelData.width
            height: root.underlined ? 2 : modelData.height
            color: root.color
        }
    }
}
