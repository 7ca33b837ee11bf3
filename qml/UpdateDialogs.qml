import QtQuick
import OstrelEditor

/// Asks the user about new firmware when the session wants to know, and runs the update.
Item {
    id: root

    required property DeviceSession session

    /// Whether the window may close. A box that is being written to asks for a second attempt,
    /// which ends the update.
    function endUpdateBeforeClosing(): bool {
        if (!session.updater.transferActive)
            return true;
        const dialog = progress.make() as SimpleUpdateDialog;
        const insists = dialog.closeAttempted;
        if (insists)
            session.updater.cancelUpdate();
        dialog.closeAttempted = true;
        return insists;
    }

    OnDemand {
        id: question

        document: "UpdateRequestDialog.qml"
    }

    OnDemand {
        id: progress

        document: "SimpleUpdateDialog.qml"
        properties: ({ firmwareUpdate: root.session.updater, startOnOpen: true })
    }

    Connections {
        target: root.session

        function onStateChanged() {
            if (root.session.state === DeviceSession.UpdateAsked)
                question.open();
            else
                (question.item as UpdateRequestDialog)?.close();
        }

        function onUpdateBegins() {
            progress.open();
        }
    }

    Connections {
        target: question.item

        function onAccepted() {
            root.session.acceptUpdate();
        }

        function onRejected() {
            root.session.declineUpdate();
        }
    }

    Connections {
        target: progress.item

        function onClosed() {
            if (!(progress.item as SimpleUpdateDialog).done)
                root.session.endUpdate();
        }
    }
}
