#pragma once

#include "scripts/LibraryDocument.h"

#include <QAbstractListModel>
#include <QNetworkAccessManager>
#include <QPointer>
#include <QThreadPool>
#include <QTimer>

#include <chrono>
#include <memory>

class LibraryFile;
class QNetworkReply;

/// The user's scripts in display order, one per row, kept in a library file. Lives on the GUI
/// thread. A model with an empty file name keeps no file; it shows what was downloaded.
///
/// addScript and removeScript save at once. A change of a name or a text and a sort are saved in
/// the background, once no further one came for SettleTime and at the latest MaxUnsavedTime after
/// the first. The end of the event loop and the destructor save the rest. What fails is tried
/// again. How the file is replaced, and what becomes of one that another program has put there, is
/// told in LibraryFile.
class ScriptListModel : public QAbstractListModel
{
    Q_OBJECT
    Q_PROPERTY(QString scriptFileName READ scriptFileName WRITE setScriptFileName NOTIFY
                   scriptFileNameChanged FINAL)

public:
    using Script = scripts::Script;

    enum Roles { ScriptNameRole = Qt::UserRole + 1, ScriptTextRole };

    static inline const QString s_defaultScriptFileName = QStringLiteral("OSTScripts.json");
    static constexpr std::chrono::milliseconds SettleTime{1000};
    static constexpr std::chrono::milliseconds MaxUnsavedTime{5000};
    /// A download that grows beyond this many bytes is given up.
    static constexpr qint64 MaxDownloadSize = 32LL * 1024 * 1024;

    /// Loads the library from the application data folder, or the built-in one.
    explicit ScriptListModel(QObject *parent = nullptr);
    ~ScriptListModel() override;

    [[nodiscard]] QString scriptFileName() const { return m_scriptFileName; }
    /// Neither loads nor saves.
    void setScriptFileName(const QString &name);

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;
    /// Always refuses; see modifyScriptName and modifyScriptText.
    bool setData(const QModelIndex &index, const QVariant &value, int role) override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex &index) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

signals:
    void scriptFileNameChanged(const QString &newFileName);
    /// The first of a streak of saves that failed, and the first that worked again.
    /// The download that began last is in the list, or why it is not, for the user to read.
    void downloaded();
    void downloadFailed(const QString &reason);
    void savingFailed(const QString &folder) const;
    void savingWorksAgain() const;

public slots:
    /// Replaces the list by what was downloaded, if that is a library.
    void onNetworkReply(QNetworkReply *reply);

public:
    Q_INVOKABLE void clear();
    Q_INVOKABLE void addScript(const QString &scriptName, const QString &scriptText);
    /// The first row of exactly that name, or -1.
    Q_INVOKABLE int findScriptByName(const QString &scriptName);
    Q_INVOKABLE void modifyScriptName(int index, const QString &newScriptName);
    Q_INVOKABLE void modifyScriptText(int index, const QString &newScriptText);
    Q_INVOKABLE void sortScripts();
    Q_INVOKABLE void removeScript(int index);
    Q_INVOKABLE QString scriptNameAt(int index);
    Q_INVOKABLE QString scriptTextAt(int index);
    Q_INVOKABLE bool loadFromFile();
    /// False where there is no file name or the disk refused.
    Q_INVOKABLE bool saveToFile() const;
    Q_INVOKABLE void loadFromUrl(const QString &url);
    /// Drops the download that began last, without a word, if it is still under way.
    Q_INVOKABLE void cancelDownload();
    /// Saves without waiting for the disk what is not saved yet.
    Q_INVOKABLE void saveInBackground();
    /// Gives a script another place; the others close up. Saved as a sort is.
    Q_INVOKABLE void moveScript(int from, int to);
    /// A number that stays with a script wherever a sort puts it; 0 where there is no such row.
    Q_INVOKABLE int scriptIdAt(int index) const;
    /// The row of that script; -1 where it is gone.
    Q_INVOKABLE int findScriptById(int scriptId) const;

    bool loadFromFile(const QString &fileName);
    bool loadFromData(const QByteArray &data);
    bool saveToFile(const QString &fileName) const;

private slots:
    void endBackgroundSave(quint64 attempt, bool saved);

private:
    [[nodiscard]] bool isRow(int index) const;
    void refresh();
    /// Replaces the list. Returns why it could not be done; empty for success.
    [[nodiscard]] QString takeDownload(QNetworkReply *reply);
    void saveNow();
    /// `attempt` numbers the saves in the order in which they began.
    void noteSaving(quint64 attempt, bool saved) const;
    void edited();
    /// New numbers for a new list.
    void numberScripts();

    QList<Script> m_scripts;
    QList<int> m_ids; ///< of the scripts, in the same order
    int m_lastId = 0;
    QString m_scriptFileName;
    QNetworkAccessManager m_networkManager;
    QPointer<QNetworkReply> m_download; ///< that began last, while it is under way
    std::shared_ptr<LibraryFile> m_file;
    quint64 m_revision = 0;
    mutable quint64 m_attempts = 0;
    mutable quint64 m_notedAttempt = 0;
    mutable bool m_savingFails = false;
    QTimer m_settle;
    QTimer m_deadline;
    QThreadPool m_saver;
};
