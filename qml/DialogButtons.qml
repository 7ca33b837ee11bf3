import QtQuick
import QtQuick.Controls
import QtQuick.Templates as T

/// The buttons of a dialog, in its middle. Return presses the one that has the focus.
DialogButtonBox {
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

    Keys.onReturnPressed: pressFocused()
    Keys.onEnterPressed: pressFocused()
}
