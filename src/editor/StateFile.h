#pragma once

#include <QObject>
#include <QVariantMap>

/// Keeps what the window remembers from one start to the next in a file of its own in the
/// configuration folder. Nothing in it matters: a file that is missing or damaged reads as empty,
/// and one that cannot be written is left. GUI thread only.
class StateFile : public QObject
{
    Q_OBJECT

public:
    static inline const QString FileName = QStringLiteral("window.json");
    static constexpr qint64 MaxSize = qint64{1024} * 1024; ///< bytes; a larger file is damaged

    using QObject::QObject;

    [[nodiscard]] Q_INVOKABLE static QVariantMap read();
    Q_INVOKABLE static void write(const QVariantMap &state);
};
