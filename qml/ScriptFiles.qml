import QtQuick
import Scripts

/// Scripts as files: adds dropped and picked ones to the library and writes the selected one. The
/// file dialogs are made when first needed.
Item {
    id: root

    signal scriptRead(string name, string text)
    signal failed(string message)

    property string textToSave: ""

    function readAll(urls) {
        for (const file of urls) {
            if (scriptFile.read(file))
                scriptRead(scriptFile.name, scriptFile.text);
            else
                failed(scriptFile.errorText);
        }
    }

    function chooseAndRead() {
        dialogs.active = true;
        (dialogs.item as ScriptFileDialogs).chooseOpen();
    }

    function chooseAndWrite(name: string, text: string) {
        textToSave = text;
        dialogs.active = true;
        (dialogs.item as ScriptFileDialogs).chooseSave(name);
    }

    function write(file: url) {
        if (!scriptFile.write(file, textToSave))
            failed(scriptFile.errorText);
    }

    ScriptFile {
        id: scriptFile
    }

    Loader {
        id: dialogs

        active: false
        sourceComponent: ScriptFileDialogs {
            onOpened: urls => root.readAll(urls)
            onSaveChosen: file => root.write(file)
        }
    }
}
