import QtQuick
import QtQuick.Controls
import QtQuick.Templates as T

/// The buttons of a dialog, in its middle. Return presses the one that has the focus.
DialogButtonBox {
    id: root

    required property string spokenName ///< of the dialog, for assistive technology

    /// Gives the focus to one of the buttons, Dialog.Ok for example, and shows that.
    function focusOn(which: int) {
        const button = standardButton(which) as T.AbstractButton;
        button.forceActiveFocus(Qt.TabFocusReason);
        // One that had the focus when the dialog was closed got it back when it opened.
        button.focusReason = Qt.TabFocusReason;
    }

    function pressFocused() {
        for (let i = 0; i < count; ++i) {
            const button = itemAt(i) as T.AbstractButton;
            if (button.activeFocus)
                button.clicked();
        }
    }

    alignment: Qt.AlignHCenter
    spacing: 10
    bottomPadding: 15
    background: null
    delegate: PlainButton {}

    // A dialog cannot declare it: it is no item, but has one, whose parts are below it.
    Component.onCompleted: parent.Accessible.name = Qt.binding(() => root.spokenName)

    Keys.onReturnPressed: pressFocused()
    Keys.onEnterPressed: pressFocused()
}
