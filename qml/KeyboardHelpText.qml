import QtQuick

/// The guide's section on the keyboard, as rich text: the actions with their shortcuts.
Item {
    id: root

    required property WindowActions actions

    readonly property string helpText: markup.heading(2, qsTr("Keyboard"))
        + markup.paragraph(qsTr("These keys work anywhere in the window; on a Mac, use Command in "
            + "place of Ctrl. The Tab key moves from one control to the next, except in the "
            + "editor, where it inserts four spaces; F6 leads out of it."))
        + markup.table(rows) + editorText

    readonly property string editorText: markup.paragraph(qsTr("In the editor, Return keeps the "
            + "indentation, with four spaces more after a colon and four less after a return, pass, "
            + "break, continue or raise. With lines selected, Tab indents them. Backspace in front "
            + "of a line goes back by four spaces. These keys work there too:"))
        + markup.table(markup.row("Shift+Tab", qsTr("Outdent the line or the selected lines"))
            + markup.row("Ctrl+/", qsTr("Make the lines comments, or take that back")))

    readonly property string rows: {
        let rows = "";
        const count = root.actions ? root.actions.all.length : 0;
        for (let i = 0; i < count; ++i) {
            const action = root.actions.all[i] as ShortcutAction;
            rows += markup.row(action.keys, action.text);
        }
        return rows;
    }

    GuideMarkup {
        id: markup
    }
}
