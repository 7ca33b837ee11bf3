import QtQuick
import QtQuick.Dialogs

/// Says one thing in the system's own message dialog, with nothing but an Ok button. The dialog is
/// made when there is first something to say.
Loader {
    id: root

    function show(message: string) {
        active = true;
        const dialog = item as MessageDialog;
        dialog.text = message;
        dialog.open();
    }

    active: false
    sourceComponent: MessageDialog {
        objectName: "messageDialog"
        // The linter of Qt 6.4 does not know the buttons of this dialog.
        buttons: MessageDialog.Ok // qmllint disable
    }

    // Where the system has no such dialog, one takes its place that knows Escape only.
    Shortcut {
        sequences: ["Return", "Enter"]
        context: Qt.ApplicationShortcut
        enabled: (root.item as MessageDialog)?.visible ?? false
        onActivated: (root.item as MessageDialog).close()
    }
}
