import QtQuick

/// Tells when its window is first on the screen.
Item {
    id: root

    signal shown

    Connections {
        id: frames

        target: root.Window.window

        function onFrameSwapped() {
            frames.enabled = false;
            root.shown();
        }
    }
}
