pragma ComponentBehavior: Bound

import QtQuick
import Editing

/// The script editor, with a page of its own for each script that was shown lately, so that caret,
/// scrolling and what can be undone belong to the script and survive a look at another one.
FocusScope {
    id: root

    required property font scriptFont
    required property real zoom

    readonly property int maxPages: 20 ///< kept, the latest

    property TextFinder finder: null ///< whose places are tinted
    property ScriptEditor current: null
    property var carets: ({}) ///< by number of the script, of those without a page
    property var pages: [] ///< the latest last; a list<ScriptEditor> cannot be searched

    /// The user changed the text.
    signal edited

    /// What is shown. No property, since its binding may still hold the text from before when
    /// edited() arrives.
    function text(): string {
        return current?.text ?? "";
    }

    /// Shows the script of that number with this text; with number 0, that none is selected.
    function show(scriptId: int, text: string) {
        const page = pageOf(scriptId);
        if (page.text !== text) {
            page.load(text);
            page.moveTo(carets[scriptId] ?? 0);
        }
        if (page === current)
            return;
        const hadFocus = activeFocus;
        current = page;
        if (hadFocus)
            page.edit();
    }

    /// Goes to a line, counted from 1, and marks its number.
    function showError(line: int) {
        current.edit();
        current.goToLine(line);
        current.markedLine = line;
    }

    function caretOf(scriptId: int): int {
        const page = pages.find(page => page.scriptId === scriptId);
        return page?.cursorPosition ?? carets[scriptId] ?? 0;
    }

    function clearMarks() {
        for (const page of pages)
            page.markedLine = 0;
    }

    /// Gives the page the keyboard, with the cursor at the end of its text.
    function editAtEnd() {
        current.edit();
        current.moveTo(current.length);
    }

    /// Takes the oldest page from its script, with all that could be undone there. Making a page
    /// takes longer than a frame.
    function reuseOldest(scriptId: int): ScriptEditor {
        const page = pages.shift();
        carets[page.scriptId] = page.cursorPosition;
        page.scriptId = scriptId;
        page.markedLine = 0;
        // Another text than before, whatever comes next: only that forgets what could be undone.
        page.load(page.text === "" ? " " : "");
        return page;
    }

    function pageOf(scriptId: int): ScriptEditor {
        let page = pages.find(page => page.scriptId === scriptId);
        if (page)
            pages = pages.filter(other => other !== page);
        else if (pages.length === maxPages)
            page = reuseOldest(scriptId);
        else
            page = pageComponent.createObject(root, { scriptId: scriptId });
        pages.push(page);
        return page;
    }

    Component {
        id: pageComponent

        ScriptEditor {
            id: page

            anchors.fill: parent
            visible: root.current === page
            readOnly: page.scriptId === 0
            scriptFont: root.scriptFont
            zoom: root.zoom
            finder: page.visible ? root.finder : null
            onEdited: root.edited()
        }
    }
}
