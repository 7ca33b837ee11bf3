#include "scripts/ScriptFile.h"

#include "scripts/ReplaceFile.h"

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStringDecoder>

namespace
{

/// Empty for what is not on this machine.
QString localPath(const QUrl &file)
{
    if (!file.scheme().isEmpty())
        return file.toLocalFile();
    // Qt's own file dialog, up to 6.4 at least, returns a name that was typed as a mere path, and
    // takes what stands in it for a query and a fragment.
    QString path = file.path(QUrl::FullyDecoded);
    if (file.hasQuery())
        path += u'?' + file.query(QUrl::FullyDecoded);
    if (file.hasFragment())
        path += u'#' + file.fragment(QUrl::FullyDecoded);
    return path;
}

QString withPlainLineEnds(QString text)
{
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    text.replace(u'\r', u'\n');
    return text;
}

} // namespace

ScriptFile::ScriptFile(QObject *parent)
    : QObject(parent)
{}

bool ScriptFile::read(const QUrl &file)
{
    const QString path = localPath(file);
    const QFileInfo info(path);
    const auto refuse = [this](const QString &errorText) {
        set({}, {}, errorText);
        return false;
    };
    QFile device(path);
    if (!info.isFile() || !device.open(QIODevice::ReadOnly))
        return refuse(tr("\"%1\" cannot be opened.").arg(info.fileName()));
    const QByteArray bytes = device.read(MaxBytes + 1);
    if (bytes.size() > MaxBytes)
        return refuse(tr("\"%1\" is too large for a script.").arg(info.fileName()));
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = withPlainLineEnds(decoder(bytes));
    if (decoder.hasError() || text.contains(QChar::Null))
        return refuse(tr("\"%1\" is not a text file in UTF-8.").arg(info.fileName()));
    set(info.completeBaseName(), text, {});
    return true;
}

QString ScriptFile::fileNameFor(const QString &scriptName)
{
    static const QRegularExpression refused(QStringLiteral(R"([\\/:*?"<>|\x00-\x1F])"));
    // There and back, half a surrogate pair becomes a character that a file name may hold.
    QString name = QString::fromUtf8(scriptName.toUtf8());
    name = name.replace(refused, QStringLiteral("_")).trimmed();
    return (name.isEmpty() ? tr("script") : name) + QStringLiteral(".py");
}

QString ScriptFile::existingName(const QUrl &file) const
{
    const QFileInfo info(localPath(file));
    return info.exists() ? info.fileName() : QString();
}

bool ScriptFile::write(const QUrl &file, const QString &scriptText)
{
    const QString path = localPath(file);
    const bool written = !path.isEmpty() && scripts::replaceFile(path, scriptText.toUtf8());
    set(m_name, m_text,
        written ? QString() : tr("\"%1\" cannot be written.").arg(QFileInfo(path).fileName()));
    return written;
}

void ScriptFile::set(const QString &name, const QString &text, const QString &errorText)
{
    m_name = name;
    m_text = text;
    m_errorText = errorText;
    emit changed();
}
