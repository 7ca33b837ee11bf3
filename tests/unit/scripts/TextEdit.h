#pragma once

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickTextDocument>
#include <QTextDocument>

#include <memory>

/// A real text area with plain text, as the window's are.
class TextEdit
{
public:
    TextEdit()
    {
        QQmlComponent component(&m_engine);
        component.setData("import QtQuick\nTextEdit { textFormat: TextEdit.PlainText; "
                          "wrapMode: TextEdit.Wrap; width: 800 }",
                          {});
        m_area.reset(component.create());
        if (!m_area)
            qFatal("%s", qPrintable(component.errorString()));
    }

    void setText(const QString &text) const { m_area->setProperty("text", text); }

    [[nodiscard]] QQuickTextDocument *quickDocument() const
    {
        return m_area->property("textDocument").value<QQuickTextDocument *>();
    }

    [[nodiscard]] QTextDocument *document() const { return quickDocument()->textDocument(); }

private:
    QQmlEngine m_engine;
    std::unique_ptr<QObject> m_area;
};
