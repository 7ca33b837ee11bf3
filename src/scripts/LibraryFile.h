#pragma once

#include "scripts/LibraryDocument.h"

#include <QDateTime>
#include <QMutex>

/// The library on the disk, and what is known of it. Other programs, a second editor among them,
/// may replace the file at any time: nothing that this object has neither read nor written is ever
/// overwritten, it is first kept beside the file under a free name, `NAME.conflict-1.json`, or
/// `NAME.damaged-1.json` if it is no library. Of what another editor saves again and again, while
/// both run, the last state alone is kept. For any thread; a second call waits for the first.
///
/// A revision numbers the states of the caller's list; it only ever grows.
class LibraryFile
{
public:
    explicit LibraryFile(QString path);

    [[nodiscard]] const QString &path() const { return m_path; }

    /// All of the file; nothing where it cannot be opened.
    [[nodiscard]] std::optional<QByteArray> read() const;

    /// Tells that the list, now at `revision`, is just what `bytes`, read from this file, hold.
    void loaded(const QByteArray &bytes, quint64 revision);

    /// Tells that the list, now at `revision`, is the built-in one. A file that is there is
    /// therefore damaged: keeps a copy.
    void replacedByDefaults(quint64 revision);

    /// Removes the temporary files that editors left here which were killed while they saved.
    void removeLeftovers() const;

    /// As save, but a library that was read and not edited stays as it is, in whatever form.
    [[nodiscard]] bool saveChanges(const QList<scripts::Script> &list, quint64 revision);

    /// Puts the list at `revision` in the place of the file. Does nothing where the file holds it
    /// already or a newer revision was saved, nor where the list has nothing to save and another
    /// program has put a library there meanwhile. False when the disk refused; then the file is as
    /// it was.
    [[nodiscard]] bool save(const QList<scripts::Script> &list, quint64 revision);

private:
    /// What tells a changed file without reading it.
    struct Stamp
    {
        qint64 size = -1;
        QDateTime modified;

        bool operator==(const Stamp &) const = default;
    };

    [[nodiscard]] bool isUntouched() const;
    /// A copy of a foreign library that was made here.
    struct Copy
    {
        QString path;
        QList<scripts::Script> list;
    };

    [[nodiscard]] bool save(const QByteArray &bytes, const QList<scripts::Script> &list,
                            quint64 revision);
    [[nodiscard]] bool keepForeign(const QByteArray &bytes, const QList<scripts::Script> &own);
    [[nodiscard]] bool isNewestCopyReplaceable(const QList<scripts::Script> &foreign,
                                               const QList<scripts::Script> &own) const;
    /// The name that the copy got; empty when the disk refused.
    [[nodiscard]] QString keepBeside(const QByteArray &bytes) const;
    [[nodiscard]] bool moveAside() const;
    [[nodiscard]] QString nameBeside(QLatin1String kind, int number) const;
    [[nodiscard]] Stamp stamp() const;
    void remember(const QByteArray &bytes);

    const QString m_path;
    mutable QMutex m_mutex;
    /// Of the content that this object last read or wrote; 0 for none.
    size_t m_digest = 0;
    Stamp m_stamp;
    Copy m_newestCopy;
    /// The newest revision that holds nothing of its own: it was loaded, or saved.
    quint64 m_safeRevision = 0;
    /// Whether the file holds that revision, and whether it does so to the letter.
    bool m_current = false;
    bool m_exact = false;
};
