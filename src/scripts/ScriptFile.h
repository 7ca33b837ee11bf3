#pragma once

#include <QObject>
#include <QUrl>

/// Carries single scripts from and to files that the user picks: UTF-8 text, one script per file.
/// Lives on the GUI thread.
class ScriptFile : public QObject
{
    Q_OBJECT
    /// The file's name without its folder and suffix.
    Q_PROPERTY(QString name READ name NOTIFY changed FINAL)
    /// With "\n" line ends.
    Q_PROPERTY(QString text READ text NOTIFY changed FINAL)
    /// Why the last call failed, for the user to read; empty after a success.
    Q_PROPERTY(QString errorText READ errorText NOTIFY changed FINAL)

public:
    /// No script has more bytes. A longer file is something else and would only hold up the window.
    static constexpr qint64 MaxBytes = 256LL * 1024;

    explicit ScriptFile(QObject *parent = nullptr);

    [[nodiscard]] QString name() const { return m_name; }
    [[nodiscard]] QString text() const { return m_text; }
    [[nodiscard]] QString errorText() const { return m_errorText; }

    /// Reads a script into `name` and `text`, also one that is too long for the box. A file that is
    /// not text or far too long is refused: then both are empty and the result is false.
    Q_INVOKABLE bool read(const QUrl &file);

    /// The file name to propose for a script: its name without what not every file system takes.
    [[nodiscard]] Q_INVOKABLE static QString fileNameFor(const QString &scriptName);

    /// The name of the file that stands at that place; empty where there is none.
    [[nodiscard]] Q_INVOKABLE QString existingName(const QUrl &file) const;

    /// Writes a script. False when the disk refused; an older file is then as it was.
    Q_INVOKABLE bool write(const QUrl &file, const QString &scriptText);

signals:
    void changed();

private:
    void set(const QString &name, const QString &text, const QString &errorText);

    QString m_name;
    QString m_text;
    QString m_errorText;
};
