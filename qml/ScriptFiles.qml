import QtQuick
import Scripts

/// Scripts as files: adds dropped and picked ones to the library and writes the selected one. The
/// file dialogs are made when first needed.
Item {
    id: root

    signal scriptRead(string name, string text)
    signal failed(string message)

    property string textToSave: ""
    property url folder ///< where the dialogs begin; empty for where the system has them begin

    function readAll(urls) {
        const refused = [];
        for (const file of urls) {
            if (scriptFile.read(file))
                scriptRead(scriptFile.name, scriptFile.text);
            else
                refused.push(scriptFile.errorText);
        }
        if (refused.length > 0)
            failed(refused.join("\n"));
    }

    function chooseAndRead() {
        (dialogs.make() as ScriptFileDialogs).chooseOpen(folder);
    }

    function chooseAndWrite(name: string, text: string) {
        textToSave = text;
        (dialogs.make() as ScriptFileDialogs).chooseSave(folder, scriptFile.fileNameFor(name));
    }

    function write(file: url) {
        if (!scriptFile.write(file, textToSave))
            failed(scriptFile.errorText);
    }

    function writeOrAsk(file: url) {
        const replaced = scriptFile.existingName(file);
        if (replaced === "")
            write(file);
        else
            (dialogs.item as ScriptFileDialogs).askToReplace(replaced, file);
    }

    ScriptFile {
        id: scriptFile
    }

    OnDemand {
        id: dialogs

        document: "ScriptFileDialogs.qml"
    }

    Connections {
        target: dialogs.item

        function onOpened(urls: var) {
            root.folder = (dialogs.item as ScriptFileDialogs).openFolder;
            root.readAll(urls);
        }

        function onSaveChosen(file: url) {
            root.folder = (dialogs.item as ScriptFileDialogs).saveFolder;
            root.writeOrAsk(file);
        }

        function onReplaceChosen(file: url) {
            root.write(file);
        }
    }
}
