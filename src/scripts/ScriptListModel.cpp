#include "scripts/ScriptListModel.h"

#include "scripts/ExchangeSort.h"
#include "scripts/LibraryFile.h"
#include "scripts/ReplaceFile.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QNetworkReply>
#include <QStandardPaths>

#include <algorithm>
#include <utility>
#include <vector>

namespace
{

/// A property of the replies that nobody waits for any more.
constexpr char Dropped[] = "dropped";

QString defaultFileName()
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    QDir().mkpath(folder);
    return folder + u'/' + ScriptListModel::s_defaultScriptFileName;
}

QByteArray builtInLibrary()
{
    QFile file(QStringLiteral(":/scripts/DefaultLibrary.json"));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void warnNotWritten(const QString &fileName)
{
    qWarning().noquote() << "Failed to open file for writing:" << fileName;
}

} // namespace

ScriptListModel::ScriptListModel(QObject *parent)
    : QAbstractListModel(parent)
    , m_scriptFileName(defaultFileName())
    , m_file(std::make_shared<LibraryFile>(m_scriptFileName))
{
    m_networkManager.setRedirectPolicy(QNetworkRequest::NoLessSafeRedirectPolicy);
    m_saver.setMaxThreadCount(1);
    for (QTimer *timer : {&m_settle, &m_deadline}) {
        timer->setSingleShot(true);
        connect(timer, &QTimer::timeout, this, &ScriptListModel::saveInBackground);
    }
    m_settle.setInterval(SettleTime);
    m_deadline.setInterval(MaxUnsavedTime);
    // Before ports and windows are taken down, which a broken service may hold up.
    connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this,
            &ScriptListModel::saveNow);

    m_file->removeLeftovers();
    if (loadFromFile(m_scriptFileName))
        return;
    loadFromData(builtInLibrary());
    m_file->replacedByDefaults(m_revision);
}

ScriptListModel::~ScriptListModel()
{
    m_saver.clear();
    saveNow();
    m_saver.waitForDone();
}

void ScriptListModel::setScriptFileName(const QString &name)
{
    if (name == m_scriptFileName)
        return;
    m_scriptFileName = name;
    m_file = std::make_shared<LibraryFile>(name);
    ++m_revision;
    emit scriptFileNameChanged(name);
}

int ScriptListModel::rowCount(const QModelIndex & /*parent*/) const
{
    return static_cast<int>(m_scripts.size());
}

QVariant ScriptListModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || !isRow(index.row()))
        return {};
    const Script &script = m_scripts[index.row()];
    switch (role) {
    case ScriptNameRole:
        return script.name;
    case ScriptTextRole:
        return script.text;
    default:
        return {};
    }
}

bool ScriptListModel::setData(const QModelIndex & /*index*/, const QVariant & /*value*/,
                              int /*role*/)
{
    return false;
}

Qt::ItemFlags ScriptListModel::flags(const QModelIndex &index) const
{
    return QAbstractListModel::flags(index) | Qt::ItemIsEditable;
}

QHash<int, QByteArray> ScriptListModel::roleNames() const
{
    return {{ScriptNameRole, "scriptName"}, {ScriptTextRole, "scriptText"}};
}

void ScriptListModel::onNetworkReply(QNetworkReply *reply)
{
    reply->deleteLater();
    if (reply->property(Dropped).toBool())
        return;
    const bool isLatest = reply == m_download;
    const QString failure = takeDownload(reply);
    if (!isLatest)
        return;
    m_download.clear();
    if (failure.isEmpty())
        emit downloaded();
    else
        emit downloadFailed(failure);
}

QString ScriptListModel::takeDownload(QNetworkReply *reply)
{
    if (reply->error() != QNetworkReply::NoError) {
        qWarning().noquote() << "Network error:" << reply->errorString();
        return reply->errorString();
    }
    const QByteArray data = reply->readAll();
    if (data.isEmpty())
        return tr("The answer is empty.");
    scripts::LibraryReading reading = scripts::readLibrary(data);
    if (!reading.scripts) {
        qWarning("Invalid JSON data received from URL.\n");
        qWarning("%s\n", qUtf8Printable(reading.error.errorString()));
        qWarning("%d pos %d\n", static_cast<int>(reading.error.error), reading.error.offset);
        return tr("The answer is no library of scripts.");
    }
    beginResetModel();
    m_scripts = std::move(*reading.scripts);
    numberScripts();
    ++m_revision;
    endResetModel();
    return {};
}

void ScriptListModel::clear()
{
    beginResetModel();
    m_scripts.clear();
    m_ids.clear();
    ++m_revision;
    endResetModel();
}

void ScriptListModel::addScript(const QString &scriptName, const QString &scriptText)
{
    const int row = rowCount();
    beginInsertRows({}, row, row);
    m_scripts.append({scriptName, scriptText});
    m_ids.append(++m_lastId);
    ++m_revision;
    endInsertRows();
    saveNow();
}

int ScriptListModel::findScriptByName(const QString &scriptName)
{
    const auto found =
        std::find_if(m_scripts.cbegin(), m_scripts.cend(),
                     [&](const Script &script) { return script.name == scriptName; });
    return found == m_scripts.cend() ? -1 : static_cast<int>(found - m_scripts.cbegin());
}

void ScriptListModel::modifyScriptName(int index, const QString &newScriptName)
{
    if (!isRow(index) || m_scripts.at(index).name == newScriptName)
        return;
    m_scripts[index].name = newScriptName;
    edited();
    emit dataChanged(this->index(index, 0), this->index(index, 0), {ScriptNameRole});
}

void ScriptListModel::modifyScriptText(int index, const QString &newScriptText)
{
    if (!isRow(index) || m_scripts.at(index).text == newScriptText)
        return;
    m_scripts[index].text = newScriptText;
    edited();
    emit dataChanged(this->index(index, 0), this->index(index, 0), {ScriptTextRole});
}

void ScriptListModel::sortScripts()
{
    beginResetModel();
    QList<QString> names;
    names.reserve(m_scripts.size());
    for (const Script &script : std::as_const(m_scripts))
        names.append(script.name);

    const std::vector<int> order = exchangeSorted(names);
    if (!std::is_sorted(order.begin(), order.end())) {
        QList<Script> sorted;
        QList<int> sortedIds;
        sorted.reserve(m_scripts.size());
        sortedIds.reserve(m_ids.size());
        for (const int position : order) {
            sorted.append(m_scripts.at(position));
            sortedIds.append(m_ids.at(position));
        }
        m_scripts = std::move(sorted);
        m_ids = std::move(sortedIds);
        edited();
    }
    endResetModel();
}

void ScriptListModel::removeScript(int index)
{
    if (!isRow(index))
        return;
    beginRemoveRows({}, index, index);
    m_scripts.removeAt(index);
    m_ids.removeAt(index);
    ++m_revision;
    endRemoveRows();
    saveNow();
}

QString ScriptListModel::scriptNameAt(int index)
{
    return isRow(index) ? m_scripts.at(index).name : QString();
}

QString ScriptListModel::scriptTextAt(int index)
{
    return isRow(index) ? m_scripts.at(index).text : QString();
}

void ScriptListModel::moveScript(int from, int to)
{
    if (!isRow(from) || !isRow(to) || from == to)
        return;
    // Views count the place in front of which the row comes to stand.
    beginMoveRows({}, from, from, {}, to > from ? to + 1 : to);
    m_scripts.move(from, to);
    m_ids.move(from, to);
    edited();
    endMoveRows();
}

int ScriptListModel::scriptIdAt(int index) const
{
    return isRow(index) ? m_ids.at(index) : 0;
}

int ScriptListModel::findScriptById(int scriptId) const
{
    return static_cast<int>(m_ids.indexOf(scriptId));
}

bool ScriptListModel::loadFromFile()
{
    return !m_scriptFileName.isEmpty() && loadFromFile(m_scriptFileName);
}

bool ScriptListModel::loadFromFile(const QString &fileName)
{
    const std::optional<QByteArray> bytes = LibraryFile(fileName).read();
    if (!bytes) {
        qWarning().noquote() << "Failed to open file for reading:" << fileName;
        return false;
    }
    if (!loadFromData(*bytes))
        return false;
    if (fileName == m_scriptFileName)
        m_file->loaded(*bytes, m_revision);
    return true;
}

bool ScriptListModel::loadFromData(const QByteArray &data)
{
    scripts::LibraryReading reading = scripts::readLibrary(data);
    if (!reading.scripts) {
        qWarning("Invalid JSON format in file");
        return false;
    }
    m_scripts = std::move(*reading.scripts);
    numberScripts();
    ++m_revision;
    refresh();
    return true;
}

bool ScriptListModel::saveToFile() const
{
    return !m_scriptFileName.isEmpty() && saveToFile(m_scriptFileName);
}

bool ScriptListModel::saveToFile(const QString &fileName) const
{
    const bool isLibrary = fileName == m_scriptFileName;
    const bool saved = isLibrary ? m_file->save(m_scripts, m_revision)
                                 : scripts::replaceFile(fileName, scripts::writeLibrary(m_scripts));
    if (isLibrary)
        noteSaving(++m_attempts, saved);
    if (!saved)
        warnNotWritten(fileName);
    return saved;
}

void ScriptListModel::saveInBackground()
{
    m_settle.stop();
    m_deadline.stop();
    if (m_scriptFileName.isEmpty())
        return;
    // What still waits there holds an older state of the list.
    m_saver.clear();
    m_saver.start(
        [this, file = m_file, list = m_scripts, revision = m_revision, attempt = ++m_attempts] {
            const bool saved = file->saveChanges(list, revision);
            if (!saved)
                warnNotWritten(file->path());
            QMetaObject::invokeMethod(this, "endBackgroundSave", Qt::QueuedConnection,
                                      Q_ARG(quint64, attempt), Q_ARG(bool, saved));
        });
}

void ScriptListModel::endBackgroundSave(quint64 attempt, bool saved)
{
    noteSaving(attempt, saved);
    if (!saved)
        m_deadline.start();
}

void ScriptListModel::loadFromUrl(const QString &url)
{
    QNetworkReply *reply = m_networkManager.get(QNetworkRequest(QUrl(url, QUrl::TolerantMode)));
    connect(reply, &QNetworkReply::readyRead, reply, [reply] {
        if (reply->bytesAvailable() > MaxDownloadSize)
            reply->abort();
    });
    m_download = reply;
    // One more connection each time: the deliveries beyond the first find the data consumed.
    connect(&m_networkManager, &QNetworkAccessManager::finished, this,
            &ScriptListModel::onNetworkReply);
}

void ScriptListModel::cancelDownload()
{
    QNetworkReply *const reply = std::exchange(m_download, nullptr);
    if (!reply)
        return;
    // The manager hands it over all the same, as one that failed.
    reply->setProperty(Dropped, true);
    reply->abort();
}

bool ScriptListModel::isRow(int index) const
{
    return index >= 0 && index < m_scripts.size();
}

/// The bottom right lies outside of the one column and is thus invalid. Views take this as a hint
/// to fetch everything anew.
void ScriptListModel::refresh()
{
    const int lastRow = static_cast<int>(m_scripts.size()) - 1;
    emit dataChanged(index(0, 0), index(lastRow, 1), {ScriptNameRole, ScriptTextRole});
}

void ScriptListModel::saveNow()
{
    if (m_scriptFileName.isEmpty())
        return;
    const bool saved = m_file->saveChanges(m_scripts, m_revision);
    noteSaving(++m_attempts, saved);
    if (saved)
        return;
    warnNotWritten(m_scriptFileName);
    m_deadline.start();
}

void ScriptListModel::noteSaving(quint64 attempt, bool saved) const
{
    // What was saved in the background may be told after a later save at once.
    if (attempt < m_notedAttempt)
        return;
    m_notedAttempt = attempt;
    if (saved != m_savingFails)
        return;
    m_savingFails = !saved;
    if (saved)
        emit savingWorksAgain();
    else
        emit savingFailed(QFileInfo(m_scriptFileName).path());
}

void ScriptListModel::numberScripts()
{
    m_ids.clear();
    for (qsizetype row = 0; row < m_scripts.size(); ++row)
        m_ids.append(++m_lastId);
}

void ScriptListModel::edited()
{
    ++m_revision;
    if (m_scriptFileName.isEmpty())
        return;
    m_settle.start();
    if (!m_deadline.isActive())
        m_deadline.start();
}
