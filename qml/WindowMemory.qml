import QtQuick
import QtQuick.Controls
import Editing
import Scripts

/// Remembers from one start to the next how the window stood, and where the user was in it. What
/// the file holds is checked before it is used: it may be damaged, or from another screen.
QtObject {
    id: root

    required property ApplicationWindow window
    required property MainPanes panes
    required property ScriptFiles scriptFiles
    required property ScriptListModel scriptListModel

    readonly property StateFile file: StateFile {}

    function restore() {
        restoreFrom(file.read());
    }

    function restoreFrom(state: var) {
        restorePlace(state);
        panes.zoom = numberIn(state.zoom, panes.minZoom, panes.maxZoom, 1);
        panes.logHeight = numberIn(state.logHeight, panes.minLogHeight, window.height, panes.minLogHeight);
        scriptFiles.folder = typeof state.folder === "string" ? state.folder : "";
        const carets = {};
        for (let row = 0; row < scriptListModel.rowCount(); ++row) {
            const caret = numberIn(state.carets?.[row], 0, 0x7FFFFFFF, 0);
            if (caret > 0)
                carets[scriptListModel.scriptIdAt(row)] = caret;
        }
        panes.editor.carets = carets;
        if (scriptListModel.scriptNameAt(state.selected ?? -1) === state.name)
            panes.scripts.select(state.selected);
    }

    function restorePlace(state: var) {
        const screen = window.Screen;
        window.width = numberIn(state.width, window.minimumWidth, screen.desktopAvailableWidth, window.width);
        window.height = numberIn(state.height, window.minimumHeight, screen.desktopAvailableHeight, window.height);
        // All of it in sight, or as the system places it.
        window.x = numberIn(state.x, 0, screen.desktopAvailableWidth - window.width, window.x);
        window.y = numberIn(state.y, 0, screen.desktopAvailableHeight - window.height, window.y);
    }

    function numberIn(value: var, lowest: real, highest: real, otherwise: real): real {
        return typeof value === "number" && value >= lowest && value <= highest ? value : otherwise;
    }

    function keep() {
        const rows = [...Array(scriptListModel.rowCount()).keys()];
        file.write({
            x: window.x,
            y: window.y,
            width: window.width,
            height: window.height,
            zoom: panes.zoom,
            logHeight: panes.log.height,
            folder: String(scriptFiles.folder),
            selected: panes.scripts.currentIndex,
            name: scriptListModel.scriptNameAt(panes.scripts.currentIndex),
            carets: rows.map(row => panes.editor.caretOf(scriptListModel.scriptIdAt(row)))
        });
    }

    readonly property Connections end: Connections {
        target: Qt.application

        function onAboutToQuit() {
            root.keep();
        }
    }
}
