import QtQml

/// Puts the guide's texts into the markup that the guide is written in.
QtObject {
    readonly property string lineHeight: "style='line-height: 125%'"

    function heading(level: int, title: string): string {
        return "<h%1>%2</h%1>".arg(level).arg(title);
    }

    function paragraph(text: string): string {
        return "<p " + lineHeight + ">" + text + "</p>";
    }

    function option(label: string, text: string): string {
        return "<b>" + label + "</b> - " + text;
    }

    /// The end of a list also ends its last entry, so that one needs no closing tag.
    function list(entries: list<string>): string {
        const entry = "<li " + lineHeight + ">";
        return "<ul>" + entry + entries.join("</li>" + entry) + "</ul>";
    }

    /// The renderer's own link colour is too dark to be read on the window's background.
    function link(target: string, text: string): string {
        return "<a href='" + target + "' style='color: #8FB4FF'>" + text + "</a>";
    }

    function row(label: string, text: string): string {
        return "<tr><td width='150'><b>" + label + "</b></td><td>" + text + "</td></tr>";
    }

    function table(rows: string): string {
        return "<table cellpadding='2' style='margin-left: 24px'>" + rows + "</table>";
    }
}
