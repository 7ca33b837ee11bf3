import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import Scripts

/// Lets the user pick the file that a script is read from or written to. Made when first needed.
Item {
    id: root

    readonly property alias openFolder: openDialog.currentFolder
    readonly property alias saveFolder: saveDialog.currentFolder

    signal opened(var urls)
    signal saveChosen(url file)
    signal replaceChosen(url file)

    function chooseOpen(folder: url) {
        if (String(folder) !== "")
            openDialog.currentFolder = folder;
        openDialog.open();
        colors.setPathBar(palette.base);
    }

    function chooseSave(folder: url, fileName: string) {
        if (String(folder) !== "")
            saveDialog.currentFolder = folder;
        saveDialog.selectedFile = saveDialog.currentFolder + "/" + encodeURIComponent(fileName);
        saveDialog.open();
        colors.setPathBar(palette.base);
    }

    function askToReplace(fileName: string, file: url) {
        replaceDialog.file = file;
        replaceDialog.text = qsTr("Replace '%1'?").arg(fileName);
        replaceDialog.open();
    }

    FileDialogColors {
        id: colors
    }

    FileDialog {
        id: openDialog

        title: qsTr("Add script from file")
        fileMode: FileDialog.OpenFiles
        nameFilters: [qsTr("MicroPython scripts (*.py)"), qsTr("All files (*)")]
        onAccepted: root.opened(selectedFiles)
    }

    FileDialog {
        id: saveDialog

        title: qsTr("Save script to file")
        fileMode: FileDialog.SaveFile
        acceptLabel: qsTr("Save")
        // Not every such dialog asks, so we do. The linter of Qt 6.4 does not know the options.
        options: FileDialog.DontConfirmOverwrite // qmllint disable
        defaultSuffix: "py"
        nameFilters: [qsTr("MicroPython scripts (*.py)")]
        onAccepted: root.saveChosen(selectedFile)
    }

    TextDialog {
        id: replaceDialog

        property url file

        objectName: "replaceDialog"
        standardButtons: Dialog.Ok | Dialog.Cancel
        closePolicy: Popup.CloseOnEscape
        onAccepted: root.replaceChosen(file)
    }
}
