#pragma once

#include <QObject>

/// Drops the repetitions of a held Return, Enter or Space, which press buttons, except where such a
/// key writes or scrolls. A key that is held a moment too long would answer the question that it
/// asked. To be installed on the application. GUI thread only.
class HeldKeyFilter : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    bool eventFilter(QObject *watched, QEvent *event) override;
};
