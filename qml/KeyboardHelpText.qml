import QtQuick

/// The guide's section on the keyboard, as rich text.
Item {
    id: root

    readonly property string helpText: markup.heading(2, qsTr("Keyboard"))
        + markup.paragraph(qsTr("These keys work anywhere in the window; on a Mac, use Command in "
            + "place of Ctrl. The Tab key moves from one control to the next, except in the "
            + "editor, where it inserts four spaces."))
        + markup.table(rows)

    readonly property string rows: markup.row("Ctrl+N", qsTr("Add a new script"))
        + markup.row("Ctrl+Backspace", qsTr("Delete the selected script"))
        + markup.row("Ctrl+L", qsTr("Sort the list of scripts"))
        + markup.row("Ctrl+O", qsTr("Add a script from a .py file"))
        + markup.row("Ctrl+S", qsTr("Save the selected script as a .py file"))
        + markup.row("Ctrl+R", qsTr("Read the script of the device"))
        + markup.row("Ctrl+Return", qsTr("Send the current script to the device"))
        + markup.row("Ctrl+K", qsTr("Clear the message log"))
        + markup.row("Ctrl+,", qsTr("Open the settings"))
        + markup.row("Ctrl+D", qsTr("Download more scripts"))
        + markup.row("F1", qsTr("Read this guide"))

    GuideMarkup {
        id: markup
    }
}
