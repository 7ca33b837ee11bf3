import QtQuick

/// The user's guide over the whole window.
HelpWindow {
    id: root

    required property string versionString
    required property WindowActions actions

    helpText: ostHelpText.helpText

    OSTHelpText {
        id: ostHelpText

        versionString: root.versionString
        actions: root.actions
    }
}
