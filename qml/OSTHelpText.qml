import QtQuick

/// The user's guide as one rich text. All of it is ours: nothing that a box, a file or the web
/// delivers may be inserted here, because it would be read as markup.
Item {
    id: root

    required property string versionString
    property string platformName: Qt.platform.os

    /// What the section on the keyboard lists; without it, that section is left out.
    property WindowActions actions: null

    readonly property string helpText: about + availableScripts + currentScript + otherOptions
        + (actions ? keyboard.helpText : "") + messageLog + writingScripts + connecting
        + (platformName === "ios" ? cables : "")

    readonly property string about: markup.heading(1, "Ostrel Editor")
        + markup.paragraph(qsTr("Version %1").arg(versionString))
        + markup.paragraph("<b>" + qsTr("Made with care by the makers of the Ostrel.") + "</b>")
        + markup.paragraph(qsTr("This app allows you to download, create and send scripts to "
            + "your Ostrel."))

    readonly property string availableScripts: markup.heading(2, qsTr("Available Scripts"))
        + markup.paragraph(qsTr("The column on the left lists the scripts that you have "
            + "downloaded or written. Click a name to select a script, and type to rename it. "
            + "A .py file that is dropped on the list is added to it. In the list, letters jump to "
            + "a name, and Alt with the up or down arrow moves a script. A script that you deleted "
            + "comes back with Ctrl+Shift+T, as long as the program runs. The options at the top "
            + "of the list are:"))
        + markup.list([
            markup.option(qsTr("Up/Down arrow"), qsTr("Alphabetically sorts your list of scripts")),
            markup.option(qsTr("Minus sign (-)"), qsTr("Deletes the currently selected script")),
            markup.option(qsTr("Plus sign (+)"), qsTr("Adds a new blank script to the list"))
        ])

    readonly property string currentScript: markup.heading(2, qsTr("Current Script"))
        + markup.paragraph(qsTr("Click the title of a script and its contents appear in the "
            + "Current Script area, where you can edit them. Your changes are saved "
            + "automatically on your computer or tablet. The two options at the top are "
            + "enabled only while a device is connected:"))
        + markup.list([
            markup.option(qsTr("Read Script"),
                qsTr("Reads the script that is loaded in your device and adds it to the list")),
            markup.option(qsTr("Send Script"),
                qsTr("Sends the current script to your device, which runs it automatically"))
        ])
        + markup.paragraph(qsTr("Beside them stands how long the script is, whether your device has "
            + "it, and how many of its characters will not survive the way there: only plain "
            + "English letters, digits and signs do. The list marks the script that your device "
            + "runs with a dot."))

    readonly property string otherOptions: markup.heading(2, qsTr("Other Options"))
        + markup.paragraph(qsTr("Three more options are in the bottom left corner:"))
        + markup.list([
            markup.option(qsTr("Settings"),
                qsTr("Opens the Global Settings window, where you choose your device's operating "
                    + "mode, name and Sysex ID (only while a device is connected)")),
            markup.option(qsTr("Download Scripts"),
                qsTr("Opens the Download Scripts window, where you can download more scripts from "
                    + "our website; a check mark shows those that you have")),
            markup.option(qsTr("Read Guide"), qsTr("Opens this help window"))
        ])

    readonly property string messageLog: markup.heading(2, qsTr("Message Log"))
        + markup.paragraph(qsTr("The area at the lower right shows every message that your "
            + "device sends. That is useful when you look for a mistake in a script: errors "
            + "that the device's scripting system reports appear there, and so does the output "
            + "of print statements. Click on the line number of an error, or press F8 for the "
            + "latest, and that line of the script that you sent last is shown. The log follows what "
            + "comes unless you scroll up. The <b>Clear</b> button empties the log."))

    readonly property string writingScripts: markup.heading(1, qsTr("Writing Scripts"))
        + markup.paragraph(qsTr("Scripts are written in the MicroPython language, which is "
            + "described at %1.").arg(markup.link("https://micropython.org", "micropython.org")))
        + markup.paragraph(qsTr("What your Ostrel adds to the language, for MIDI and for its "
            + "LEDs, pedals and timers, is described in our documentation at %1.")
            .arg(markup.link("https://docs.ostrel.example/scripting/",
                "docs.ostrel.example/scripting")))

    readonly property string connecting: markup.heading(1, qsTr("Connecting to a Device"))
        + markup.paragraph(qsTr("The menu in the upper left corner chooses the device that you "
            + "work with. When one device is connected to your computer, the editor connects "
            + "to it automatically; when there are several, pick one from the menu. If your "
            + "device is not listed, choose \"-Scan for Devices-\" in the menu."))
        + markup.paragraph(qsTr("If you use several devices, give each of them its own name "
            + "and Sysex ID: connect just one device, set its name and ID under "
            + "<b>Settings</b>, then connect the next one and choose \"-Scan For Devices-\"."))

    readonly property string cables: markup.heading(1, qsTr("Cables Required"))
        + markup.paragraph(qsTr("There are two ways to connect your Ostrel to a tablet:"))
        + markup.list([
            qsTr("Tablets with a USB C port need a USB C cable of the \"charge and sync\" kind. A "
                + "charge-only cable does not work."),
            qsTr("Tablets with the older connector need the tablet maker's camera adapter to USB "
                + "A, followed by a USB A to USB C cable.")
        ])

    GuideMarkup {
        id: markup
    }

    KeyboardHelpText {
        id: keyboard

        actions: root.actions
    }
}
