import QtQuick
import Scripts

/// What is done to whole scripts of the library, and can be taken back. The scripts that were
/// deleted last are kept while the program runs. The functions return the row to be selected.
QtObject {
    id: root

    required property ScriptListModel scriptListModel

    readonly property int maxKept: 20
    property var deleted: [] ///< name, text and row of each, the last one last

    signal logged(string message)

    function remove(row: int) {
        if (row < 0 || row >= scriptListModel.rowCount())
            return;
        const name = scriptListModel.scriptNameAt(row);
        deleted.push({ name: name, text: scriptListModel.scriptTextAt(row), row: row });
        deleted = deleted.slice(-maxKept);
        scriptListModel.removeScript(row);
        logged(qsTr("'%1' deleted. Ctrl+Shift+T brings it back.\n").arg(name));
    }

    /// Brings back what was deleted last, to its place. -1 where there is nothing.
    function restore(): int {
        const script = deleted.pop();
        return script ? insert(script.row, script.name, script.text) : -1;
    }

    /// -1 where there is no such row.
    function duplicate(row: int): int {
        if (row < 0)
            return -1;
        const name = qsTr("%1 copy").arg(scriptListModel.scriptNameAt(row));
        return insert(row + 1, name, scriptListModel.scriptTextAt(row));
    }

    /// -1 where it cannot go there.
    function move(row: int, by: int): int {
        const target = row + by;
        if (target < 0 || target >= scriptListModel.rowCount())
            return -1;
        scriptListModel.moveScript(row, target);
        return target;
    }

    function insert(row: int, name: string, text: string): int {
        scriptListModel.addScript(name, text);
        const last = scriptListModel.rowCount() - 1;
        scriptListModel.moveScript(last, Math.min(row, last));
        return Math.min(row, last);
    }
}
